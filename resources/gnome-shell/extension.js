// What GNOME Shell does for Stowboard, and nothing that Stowboard decides: it answers to the process
// that owns Stowboard's name on the session bus, and to nobody else.

import Clutter from 'gi://Clutter';
import Gio from 'gi://Gio';
import GLib from 'gi://GLib';
import Meta from 'gi://Meta';
import Shell from 'gi://Shell';

import * as Main from 'resource:///org/gnome/shell/ui/main.js';
import {Extension} from 'resource:///org/gnome/shell/extensions/extension.js';

const PROGRAM = 'com.qarvin.stowboard';
const NAME = 'com.qarvin.stowboard.Shell';
const PATH = '/com/qarvin/stowboard/Shell';

// Windows are named by the shell's own numbers. Keys of a chord are the kernel's codes; a grab names its key
// by XKB's number, as "<Super><Shift>0x37".
const INTERFACE = `
<node>
  <interface name="${NAME}">
    <method name="Follow"/>
    <method name="Activate">
      <arg name="window" type="s" direction="in"/>
    </method>
    <method name="Grab">
      <arg name="name" type="s" direction="in"/>
      <arg name="accelerator" type="s" direction="in"/>
      <arg name="isGranted" type="b" direction="out"/>
    </method>
    <method name="Ungrab">
      <arg name="name" type="s" direction="in"/>
    </method>
    <method name="HolderOf">
      <arg name="accelerator" type="s" direction="in"/>
      <arg name="holder" type="s" direction="out"/>
    </method>
    <method name="Type">
      <arg name="modifiers" type="au" direction="in"/>
      <arg name="key" type="u" direction="in"/>
      <arg name="isTyped" type="b" direction="out"/>
    </method>
${['DidActivate', 'DidAdd', 'DidClose'].map(name => `
    <signal name="${name}">
      <arg name="window" type="s"/>
      <arg name="application" type="s"/>
      <arg name="windowClass" type="s"/>
      <arg name="process" type="u"/>
    </signal>`).join('')}
    <signal name="Pressed"><arg name="name" type="s"/></signal>
    <signal name="ClickedElsewhere"/>
    <signal name="ClipboardDidChange"/>
  </interface>
</node>`;

// A chord waits for the person's own modifiers, since those would be part of it, and looks this often.
const LOOKS_APART = 15;
const LONGEST_WAIT = 5000;
const HELD = Clutter.ModifierType.SHIFT_MASK | Clutter.ModifierType.CONTROL_MASK |
    Clutter.ModifierType.MOD1_MASK | Clutter.ModifierType.MOD4_MASK | Clutter.ModifierType.SUPER_MASK;

// Where the desktop keeps its own shortcuts.
const SHORTCUTS = ['org.gnome.desktop.wm.keybindings', 'org.gnome.shell.keybindings',
    'org.gnome.mutter.keybindings', 'org.gnome.mutter.wayland.keybindings',
    'org.gnome.settings-daemon.plugins.media-keys'];

const KEY_LEFTSHIFT = 42;

function normalized(accelerator) {
    const modifiers = accelerator.toLowerCase().match(/<[^>]*>/g) ?? [];
    const names = modifiers.map(each => each.replace('<primary>', '<control>'));
    return `${names.sort().join('')}${accelerator.replace(/<[^>]*>/g, '').toLowerCase()}`;
}

// The chords that wait to be typed, in order.
class Typist {
    constructor() {
        const seat = Clutter.get_default_backend().get_default_seat();
        this._keyboard = seat.create_virtual_device(Clutter.InputDeviceType.KEYBOARD_DEVICE);
        this._queue = [];
        this._timer = 0;
        // A new keyboard's first key is lost; this one means nothing.
        this._type({modifiers: [], key: KEY_LEFTSHIFT});
    }

    destroy() {
        if (this._timer)
            GLib.source_remove(this._timer);
        this._timer = 0;
        this._queue.splice(0).forEach(chord => chord.done(false));
        this._keyboard = null;
    }

    add(modifiers, key, done) {
        this._queue.push({modifiers, key, done, end: Date.now() + LONGEST_WAIT});
        if (this._timer)
            return;
        if (this._look() === GLib.SOURCE_CONTINUE)
            this._timer = GLib.timeout_add(GLib.PRIORITY_HIGH, LOOKS_APART, () => this._look());
    }

    _look() {
        const [, , modifiers] = global.get_pointer();
        const isFree = (modifiers & HELD) === 0;
        const chord = this._queue[0];
        if (!isFree && Date.now() < chord.end)
            return GLib.SOURCE_CONTINUE;
        this._queue.shift();
        // Nothing is typed into the field for the password.
        const isAllowed = isFree && !Main.sessionMode.isLocked;
        if (isAllowed)
            this._type(chord);
        chord.done(isAllowed);
        if (this._queue.length > 0)
            return GLib.SOURCE_CONTINUE;
        this._timer = 0;
        return GLib.SOURCE_REMOVE;
    }

    _type({modifiers, key}) {
        const send = (code, state) =>
            this._keyboard.notify_key(GLib.get_monotonic_time(), code, state);
        modifiers.forEach(code => send(code, Clutter.KeyState.PRESSED));
        send(key, Clutter.KeyState.PRESSED);
        send(key, Clutter.KeyState.RELEASED);
        [...modifiers].reverse().forEach(code => send(code, Clutter.KeyState.RELEASED));
    }
}

// What is done for Stowboard while it runs.
class Service {
    // `emit` sends a signal to it.
    constructor(process, emit) {
        this._process = process;
        this._emit = emit;
        this._grabs = new Map();
        this._typist = new Typist();
        this._tracker = Shell.WindowTracker.get_default();
        global.display.connectObject(
            'notify::focus-window', () => this._tellFront(),
            'window-created', (_display, window) => this._welcome(window),
            'accelerator-activated', (_display, action) => this._press(action), this);
        this._selection = global.display.get_selection();
        this._selection.connectObject('owner-changed', (_selection, type) => {
            if (type === Meta.SelectionType.SELECTION_CLIPBOARD)
                this._emit('ClipboardDidChange', '()', []);
        }, this);
        global.get_window_actors().forEach(actor => this._followEnd(actor.meta_window));
        this._tellFront();
    }

    destroy() {
        global.display.disconnectObject(this);
        global.stage.disconnectObject(this);
        this._selection.disconnectObject(this);
        global.get_window_actors().forEach(actor => actor.meta_window.disconnectObject(this));
        [...this._grabs.keys()].forEach(name => this.Ungrab(name));
        this._typist.destroy();
    }

    Activate(number) {
        const window = global.get_window_actors().map(actor => actor.meta_window)
            .find(each => String(each.get_id()) === number);
        if (window && !Main.sessionMode.isLocked)
            Main.activateWindow(window);
    }

    Grab(name, accelerator) {
        this.Ungrab(name);
        const action = global.display.grab_accelerator(
            accelerator, Meta.KeyBindingFlags.IGNORE_AUTOREPEAT);
        if (action === Meta.KeyBindingAction.NONE)
            return false;
        Main.wm.allowKeybinding(Meta.external_binding_name_for_action(action),
            Shell.ActionMode.NORMAL | Shell.ActionMode.OVERVIEW);
        this._grabs.set(name, action);
        return true;
    }

    Ungrab(name) {
        const action = this._grabs.get(name);
        if (action === undefined)
            return;
        this._grabs.delete(name);
        global.display.ungrab_accelerator(action);
        Main.wm.allowKeybinding(Meta.external_binding_name_for_action(action),
            Shell.ActionMode.NONE);
    }

    // In the words of the desktop's own settings; empty for nothing that is known.
    HolderOf(accelerator) {
        const wanted = normalized(accelerator);
        const source = Gio.SettingsSchemaSource.get_default();
        for (const schema of SHORTCUTS.map(id => source.lookup(id, true)).filter(each => each)) {
            const settings = new Gio.Settings({settings_schema: schema});
            for (const key of schema.list_keys()) {
                if (schema.get_key(key).get_value_type().dup_string() === 'as' &&
                    settings.get_strv(key).some(each => normalized(each) === wanted))
                    return schema.get_key(key).get_summary() ?? key;
            }
        }
        return '';
    }

    Type(modifiers, key, done) {
        this._typist.add(modifiers, key, done);
    }

    _tellFront() {
        const front = global.display.focus_window;
        // Every motion of the pointer would come by, too.
        global.stage.disconnectObject(this);
        if (front?.get_pid() === this._process)
            global.stage.connectObject(
                'captured-event', (_stage, event) => this._lookForClick(event), this);
        this._tell('DidActivate', front);
    }

    _tell(what, window) {
        const application = window ? this._tracker.get_window_app(window) : null;
        const id = application?.is_window_backed() ? '' : application?.get_id() ?? '';
        this._emit(what, '(sssu)', [window ? String(window.get_id()) : '',
            id.replace(/\.desktop$/, ''), window?.get_wm_class() ?? '',
            Math.max(window?.get_pid() ?? 0, 0)]);
    }

    _welcome(window) {
        this._followEnd(window);
        if (window.get_pid() !== this._process)
            return;
        const isTransient = window.get_window_type() === Meta.WindowType.UTILITY;
        if (isTransient)
            this._place(window);
        if (isTransient || window.get_window_type() === Meta.WindowType.NORMAL)
            this._tell('DidAdd', window);
    }

    // Below the pointer, else above it, and wholly on that monitor.
    _place(window) {
        const [x, y] = global.get_pointer();
        const area = Main.layoutManager.getWorkAreaForMonitor(global.display.get_current_monitor());
        const frame = window.get_frame_rect();
        const distance = 5;
        const hasRoomBelow = y + distance + frame.height <= area.y + area.height;
        const top = hasRoomBelow ? y + distance : y - distance - frame.height;
        const within = (wanted, start, length, size) =>
            Math.max(start, Math.min(wanted, start + length - size));
        window.move_frame(true,
            within(x - Math.round(frame.width / 2), area.x, area.width, frame.width),
            within(top, area.y, area.height, frame.height));
    }

    _followEnd(window) {
        window.connectObject('unmanaged', () => this._tell('DidClose', window), this);
    }

    _press(action) {
        for (const [name, each] of this._grabs) {
            if (each !== action)
                continue;
            Main.overview.hide();
            this._emit('Pressed', '(s)', [name]);
        }
    }

    // The shell's own parts take no focus for a click.
    _lookForClick(event) {
        const type = event.type();
        const isClick = type === Clutter.EventType.BUTTON_PRESS ||
            type === Clutter.EventType.TOUCH_BEGIN;
        const front = global.display.focus_window;
        if (isClick && front && !this._isIn(front, event))
            this._emit('ClickedElsewhere', '()', []);
        return Clutter.EVENT_PROPAGATE;
    }

    _isIn(window, event) {
        const [x, y] = event.get_coords();
        const frame = window.get_frame_rect();
        return x >= frame.x && x < frame.x + frame.width &&
            y >= frame.y && y < frame.y + frame.height;
    }
}

export default class StowboardExtension extends Extension {
    enable() {
        this._object = Gio.DBusExportedObject.wrapJSObject(INTERFACE, this);
        this._object.export(Gio.DBus.session, PATH);
        this._name = Gio.DBus.session.own_name(NAME, Gio.BusNameOwnerFlags.NONE, null, null);
    }

    disable() {
        this._stopServing();
        Gio.DBus.session.unown_name(this._name);
        this._object.unexport();
        this._object = null;
    }

    async FollowAsync(_arguments, invocation) {
        const sender = invocation.get_sender();
        const process = await this._processOf(sender);
        if (!process || process !== await this._processOf(PROGRAM))
            return this._refuse(invocation);
        this._stopServing();
        this._served = sender;
        this._watch = Gio.DBus.session.watch_name(
            sender, Gio.BusNameWatcherFlags.NONE, null, () => this._stopServing());
        invocation.return_value(null);
        this._service = new Service(process, (signal, type, values) =>
            Gio.DBus.session.emit_signal(sender, PATH, NAME, signal, new GLib.Variant(type, values)));
    }

    ActivateAsync([window], invocation) {
        this._serve(invocation, service => service.Activate(window));
    }

    GrabAsync([name, accelerator], invocation) {
        this._serve(invocation,
            service => new GLib.Variant('(b)', [service.Grab(name, accelerator)]));
    }

    UngrabAsync([name], invocation) {
        this._serve(invocation, service => service.Ungrab(name));
    }

    HolderOfAsync([accelerator], invocation) {
        this._serve(invocation,
            service => new GLib.Variant('(s)', [service.HolderOf(accelerator)]));
    }

    TypeAsync([modifiers, key], invocation) {
        if (!this._isServed(invocation))
            return this._refuse(invocation);
        this._service.Type(modifiers, key,
            isTyped => invocation.return_value(new GLib.Variant('(b)', [isTyped])));
    }

    _serve(invocation, operation) {
        if (this._isServed(invocation))
            invocation.return_value(operation(this._service) ?? null);
        else
            this._refuse(invocation);
    }

    _isServed(invocation) {
        return this._service && invocation.get_sender() === this._served;
    }

    _refuse(invocation) {
        invocation.return_dbus_error('org.freedesktop.DBus.Error.AccessDenied', 'For Stowboard only');
    }

    _stopServing() {
        if (!this._service)
            return;
        Gio.DBus.session.unwatch_name(this._watch);
        this._service.destroy();
        this._service = null;
        this._served = null;
    }

    // 0 for nobody.
    _processOf(name) {
        return new Promise(resolve => Gio.DBus.session.call(
            'org.freedesktop.DBus', '/org/freedesktop/DBus', 'org.freedesktop.DBus',
            'GetConnectionUnixProcessID', new GLib.Variant('(s)', [name]), null,
            Gio.DBusCallFlags.NONE, -1, null, (bus, result) => {
                try {
                    resolve(bus.call_finish(result).deepUnpack()[0]);
                } catch {
                    resolve(0);
                }
            }));
    }
}
