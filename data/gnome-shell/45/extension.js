// Offers VorlixHelper the focused window (application id, title, process) on
// the session bus, as object /info/mallowby/VorlixHelper/FocusedWindow of
// org.gnome.Shell: Get() to ask, Changed at every focus and title change.
// For GNOME Shell 45 and later (module-style extensions); 43/extension.js
// is the same for GNOME Shell 43 and 44 (Debian 12).
import Gio from 'gi://Gio';
import GLib from 'gi://GLib';
import Shell from 'gi://Shell';
import {Extension} from 'resource:///org/gnome/shell/extensions/extension.js';

const PATH = '/info/mallowby/VorlixHelper/FocusedWindow';
const INTERFACE = `<node><interface name="info.mallowby.VorlixHelper.FocusedWindow">
  <method name="Get"><arg type="s" direction="out"/><arg type="s" direction="out"/><arg type="i" direction="out"/></method>
  <signal name="Changed"><arg type="s"/><arg type="s"/><arg type="i"/></signal>
</interface></node>`;

export default class FocusedWindow extends Extension {
    enable() {
        this._object = Gio.DBusExportedObject.wrapJSObject(INTERFACE, this);
        this._object.export(Gio.DBus.session, PATH);
        this._window = null;
        this._focusId = global.display.connect('notify::focus-window', () => this._follow());
        this._follow();
    }

    disable() {
        global.display.disconnect(this._focusId);
        this._watch(null);
        this._object.unexport();
        this._object = null;
    }

    Get() {
        return this._describe();
    }

    _describe() {
        const window = global.display.focus_window;
        if (!window) return ['', '', 0];
        const app = Shell.WindowTracker.get_default().get_window_app(window);
        const id = app && app.get_id() ? app.get_id().replace(/\.desktop$/, '') : '';
        return [id || window.get_wm_class() || '', window.get_title() || '', window.get_pid()];
    }

    _watch(window) {
        if (this._window) this._window.disconnect(this._titleId);
        this._window = window;
        if (window) this._titleId = window.connect('notify::title', () => this._emit());
    }

    _follow() {
        this._watch(global.display.focus_window);
        this._emit();
    }

    _emit() {
        this._object.emit_signal('Changed', new GLib.Variant('(ssi)', this._describe()));
    }
}
