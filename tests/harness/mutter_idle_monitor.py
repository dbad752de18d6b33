'''A stand-in for GNOME's idle monitor on a private session bus.

GetIdletime answers the milliseconds last given to the mock-only
SetIdletime (0 at start).
'''

import dbus

from dbusmock import MOCK_IFACE

BUS_NAME = 'org.gnome.Mutter.IdleMonitor'
MAIN_OBJ = '/org/gnome/Mutter/IdleMonitor/Core'
MAIN_IFACE = 'org.gnome.Mutter.IdleMonitor'
SYSTEM_BUS = False


def load(mock, parameters):
    mock.idletime = dbus.UInt64(parameters.get('idletime', 0))
    mock.AddMethod(MAIN_IFACE, 'GetIdletime', '', 't', 'ret = self.idletime')


@dbus.service.method(MOCK_IFACE, in_signature='t', out_signature='')
def SetIdletime(self, milliseconds):
    self.idletime = dbus.UInt64(milliseconds)
