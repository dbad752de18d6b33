# Debian 12 packages, by purpose. Sourced by the other scripts.
# shellcheck disable=SC2034
BUILD_PACKAGES=(
  g++ cmake ninja-build pkg-config
  qt6-base-dev qt6-tools-dev qt6-tools-dev-tools qt6-l10n-tools libgl-dev
  libsqlite3-dev libicu-dev libatspi2.0-dev libglib2.0-dev
  libxcb1-dev libxcb-ewmh-dev libxcb-res0-dev libxcb-icccm4-dev libxcb-screensaver0-dev libxcb-sync-dev
  libx11-dev libxss-dev libplist-dev
  libwayland-dev wayland-protocols plasma-wayland-protocols
)
TEST_PACKAGES=(
  ccache libgtest-dev libgmock-dev googletest libbenchmark-dev
  xvfb openbox xdotool x11-utils x11-xserver-utils at-spi2-core dbus dbus-x11
  python3 python3-dbusmock python3-gi libglib2.0-bin sqlite3 procps
  xterm chromium chromium-l10n firefox-esr mousepad gedit xfce4-terminal thunar thunderbird
  trayer xfce4-panel librsvg2-bin
  sway foot xwayland wtype
  clang libclang-rt-14-dev
)
