'''A stand-in for a panel's org.kde.StatusNotifierWatcher on a private session bus.

It says a host is registered, so Qt shows tray icons as StatusNotifierItems
on this bus, and it lists every item registered with it in
RegisteredStatusNotifierItems, as given (a bus name, perhaps with a path).
'''

import dbus

BUS_NAME = 'org.kde.StatusNotifierWatcher'
MAIN_OBJ = '/StatusNotifierWatcher'
MAIN_IFACE = 'org.kde.StatusNotifierWatcher'
SYSTEM_BUS = False


def load(mock, parameters):
    mock.AddProperties(MAIN_IFACE, {
        'IsStatusNotifierHostRegistered': dbus.Boolean(True),
        'ProtocolVersion': dbus.Int32(0),
        'RegisteredStatusNotifierItems': dbus.Array([], signature='s'),
    })
    mock.AddMethods(MAIN_IFACE, [
        ('RegisterStatusNotifierItem', 's', '',
         "self.UpdateProperties('%s', {'RegisteredStatusNotifierItems': dbus.Array("
         "list(self.Get('%s', 'RegisteredStatusNotifierItems')) + [args[0]], signature='s')})"
         % (MAIN_IFACE, MAIN_IFACE)),
        ('RegisterStatusNotifierHost', 's', '', ''),
    ])
