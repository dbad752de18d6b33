'''A stand-in for org.freedesktop.ScreenSaver on a private session bus.

GetSessionIdleTime answers the whole seconds last given to the mock-only
SetSessionIdleTime (0 at start).
'''

import dbus

from dbusmock import MOCK_IFACE

BUS_NAME = 'org.freedesktop.ScreenSaver'
MAIN_OBJ = '/org/freedesktop/ScreenSaver'
MAIN_IFACE = 'org.freedesktop.ScreenSaver'
SYSTEM_BUS = False


def load(mock, parameters):
    mock.idletime = dbus.UInt32(parameters.get('idletime', 0))
    mock.AddMethod(MAIN_IFACE, 'GetSessionIdleTime', '', 'u', 'ret = self.idletime')


@dbus.service.method(MOCK_IFACE, in_signature='u', out_signature='')
def SetSessionIdleTime(self, seconds):
    self.idletime = dbus.UInt32(seconds)
