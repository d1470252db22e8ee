// What the companion may ask of GNOME Shell, on the session bus.
//
// The same text is the middle of both forms of the extension: GNOME 43 and 44 read a script, 45 and
// later a module. It uses what the form before it has named: Gio, GLib, Meta, Shell, St and
// `activateWindow`.
//
// Only the companion is answered. Its processes are known by the file that they run, which the kernel
// tells and nobody can pretend; which files those are stands in `programs`, one path a line, beside
// this one. Everybody else gets AccessDenied and learns nothing.

const NAME = 'example.trevix.kelvane.GnomeShell';
const PATH = '/example/trevix/kelvane/GnomeShell';

const INTERFACE = `
<node>
  <interface name="example.trevix.kelvane.GnomeShell">
    <method name="Windows">
      <arg type="a(tsussiiiibb)" direction="out" name="windows"/>
    </method>
    <method name="Primary">
      <arg type="t" direction="in" name="window"/>
      <arg type="b" direction="out" name="present"/>
      <arg type="u" direction="out" name="age"/>
      <arg type="s" direction="out" name="text"/>
    </method>
    <method name="Picture">
      <arg type="t" direction="in" name="window"/>
      <arg type="ay" direction="out" name="png"/>
    </method>
    <method name="Activate">
      <arg type="t" direction="in" name="window"/>
      <arg type="b" direction="out" name="asked"/>
    </method>
    <method name="PlacePanel">
      <arg type="b" direction="out" name="placed"/>
    </method>
  </interface>
</node>`;

// Pixels between the panel and the edges of what windows may fill.
const PANEL_MARGIN = 8;
// Password managers mark what they put on a selection with this type.
const SECRET = 'x-kde-passwordManagerHint';
const TEXT_TYPES = ['text/plain;charset=utf-8', 'UTF8_STRING', 'text/plain', 'STRING'];

class CompanionService {
    constructor(folder) {
        this._folder = folder;
        this._primary = null; // Which window was in front when PRIMARY was selected, and when.
    }

    start() {
        this._selection = global.display.get_selection();
        this._ownerChanged = this._selection.connect('owner-changed', (_selection, type) => {
            if (type !== Meta.SelectionType.SELECTION_PRIMARY) return;
            const window = global.display.focus_window;
            this._primary = window ? { window, at: GLib.get_monotonic_time() } : null;
        });
        this._object = Gio.DBusExportedObject.wrapJSObject(INTERFACE, this);
        this._object.export(Gio.DBus.session, PATH);
        this._name = Gio.bus_own_name_on_connection(
            Gio.DBus.session, NAME, Gio.BusNameOwnerFlags.DO_NOT_QUEUE, null, null);
    }

    stop() {
        if (this._name) Gio.bus_unown_name(this._name);
        if (this._object) this._object.unexport();
        if (this._ownerChanged) this._selection.disconnect(this._ownerChanged);
        this._name = 0;
        this._object = null;
        this._ownerChanged = 0;
        this._selection = null;
        this._primary = null;
    }

    // ---- who asks ------------------------------------------------------------------------------

    _programs() {
        const file = GLib.build_filenamev([this._folder, 'programs']);
        try {
            const [, bytes] = GLib.file_get_contents(file);
            return new TextDecoder().decode(bytes).split('\n').filter(line => line.startsWith('/'));
        } catch {
            return [];
        }
    }

    _isProgram(pid) {
        try {
            return this._programs().includes(GLib.file_read_link(`/proc/${pid}/exe`));
        } catch {
            return false;
        }
    }

    // Calls `answer(pid)` once the caller is known for the companion.
    _forCompanion(invocation, answer) {
        Gio.DBus.session.call(
            'org.freedesktop.DBus', '/org/freedesktop/DBus', 'org.freedesktop.DBus',
            'GetConnectionUnixProcessID', new GLib.Variant('(s)', [invocation.get_sender()]),
            null, Gio.DBusCallFlags.NONE, -1, null, (bus, result) => {
                try {
                    const pid = bus.call_finish(result).deepUnpack()[0];
                    if (!this._object || !this._isProgram(pid)) {
                        invocation.return_dbus_error(
                            'org.freedesktop.DBus.Error.AccessDenied', 'not for this program');
                        return;
                    }
                    answer(pid);
                } catch (error) {
                    invocation.return_dbus_error(
                        'org.freedesktop.DBus.Error.Failed', `${error}`);
                }
            });
    }

    // ---- windows -------------------------------------------------------------------------------

    _windows() {
        return global.get_window_actors()
            .map(actor => actor.meta_window)
            .filter(window => window && !window.is_override_redirect() &&
                    window.get_window_type() !== Meta.WindowType.DESKTOP &&
                    window.get_window_type() !== Meta.WindowType.DOCK);
    }

    _window(number) {
        return this._windows().find(window => window.get_id() === Number(number)) ?? null;
    }

    _isOnScreen(window) {
        return !window.minimized && window.located_on_workspace(
            global.workspace_manager.get_active_workspace());
    }

    // Front to back.
    WindowsAsync(_parameters, invocation) {
        this._forCompanion(invocation, () => {
            const tracker = Shell.WindowTracker.get_default();
            const focus = global.display.focus_window;
            const windows = global.display.sort_windows_by_stacking(this._windows()).reverse();
            const described = windows.map(window => {
                const app = tracker.get_window_app(window);
                const frame = window.get_frame_rect();
                return [window.get_id(), app ? app.get_id() ?? '' : '',
                    Math.max(0, window.get_pid()), window.get_wm_class() ?? '',
                    window.get_title() ?? '', frame.x, frame.y, frame.width, frame.height,
                    window === focus, this._isOnScreen(window)];
            });
            invocation.return_value(new GLib.Variant('(a(tsussiiiibb))', [described]));
        });
    }

    ActivateAsync([number], invocation) {
        this._forCompanion(invocation, () => {
            const window = this._window(number);
            if (window) activateWindow(window);
            invocation.return_value(new GLib.Variant('(b)', [window !== null]));
        });
    }

    // Puts the caller's own window where panels stand, above the others: under Wayland a program
    // cannot say where its window goes.
    PlacePanelAsync(_parameters, invocation) {
        this._forCompanion(invocation, pid => {
            // One that is not on screen yet would be placed once more by the shell.
            const own = this._windows().filter(window => window.get_pid() === pid &&
                window.get_window_type() !== Meta.WindowType.DIALOG &&
                window.get_compositor_private()?.mapped && window.get_frame_rect().width > 0);
            for (const window of own) {
                const area = window.get_work_area_for_monitor(
                    global.display.get_primary_monitor());
                const frame = window.get_frame_rect();
                window.move_frame(true, area.x + area.width - frame.width - PANEL_MARGIN,
                    area.y + PANEL_MARGIN);
                window.make_above();
            }
            invocation.return_value(new GLib.Variant('(b)', [own.length > 0]));
        });
    }

    // ---- what is selected ----------------------------------------------------------------------

    // A program can select only while it has the keyboard, so what was selected while this window
    // had it is this window's.
    PrimaryAsync([number], invocation) {
        this._forCompanion(invocation, () => {
            const nothing = () => invocation.return_value(new GLib.Variant('(bus)', [false, 0, '']));
            const window = this._window(number);
            const clipboard = St.Clipboard.get_default();
            const types = clipboard.get_mimetypes(St.ClipboardType.PRIMARY);
            if (!window || this._primary?.window !== window || types.includes(SECRET) ||
                !types.some(type => TEXT_TYPES.includes(type))) {
                nothing();
                return;
            }
            const age = Math.round((GLib.get_monotonic_time() - this._primary.at) / 1000);
            clipboard.get_text(St.ClipboardType.PRIMARY, (_clipboard, text) => {
                if (this._primary?.window !== window || text === null) nothing();
                else invocation.return_value(new GLib.Variant('(bus)', [true, age, text]));
            });
        });
    }

    // ---- a picture -----------------------------------------------------------------------------

    // The window as the program has drawn it: nothing that covers it, and no shadow.
    PictureAsync([number], invocation) {
        this._forCompanion(invocation, () => {
            const window = this._window(number);
            const actor = window?.get_compositor_private();
            const content = actor?.paint_to_content(null);
            if (!content) {
                invocation.return_value(new GLib.Variant('(ay)', [[]]));
                return;
            }
            const texture = content.get_texture();
            const frame = window.get_frame_rect();
            const buffer = window.get_buffer_rect();
            const scale = texture.get_width() / Math.max(1, buffer.width);
            const inside = value => Math.round(Math.max(0, value) * scale);
            const stream = Gio.MemoryOutputStream.new_resizable();
            Shell.Screenshot.composite_to_stream(
                texture, inside(frame.x - buffer.x), inside(frame.y - buffer.y),
                inside(frame.width), inside(frame.height), scale, null, 0, 0, 1, stream,
                (_source, result) => {
                    try {
                        Shell.Screenshot.composite_to_stream_finish(result);
                        stream.close(null);
                        const bytes = stream.steal_as_bytes();
                        invocation.return_value(GLib.Variant.new_tuple([
                            GLib.Variant.new_from_bytes(new GLib.VariantType('ay'), bytes, true)]));
                    } catch (error) {
                        invocation.return_dbus_error(
                            'org.freedesktop.DBus.Error.Failed', `${error}`);
                    }
                });
        });
    }
}
