"""A program's controls, as a screen reader finds and uses them (AT-SPI)."""

import os

import gi
from gi.repository import GLib

from desktop import wait_until


class Accessibility:
    """The accessibility bus of one private desktop, for one program on it. A process can use that of
    one desktop only. Programs must be started with ENVIRONMENT."""

    ENVIRONMENT = {"QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}

    def __init__(self, desktop, application):
        desktop.start(["/usr/libexec/at-spi-bus-launcher", "--launch-immediately"])
        for name in ("DBUS_SESSION_BUS_ADDRESS", "DISPLAY"):
            os.environ[name] = desktop.environment[name]
        gi.require_version("Atspi", "2.0")
        from gi.repository import Atspi  # connects to the bus
        self._atspi = Atspi
        self._desktop = desktop
        self._application = application

    def find(self, role, name, seconds=10.0):
        """Waits for a control on screen with this role, such as "push button", and this name, which
        is its own or that of the label it belongs to."""
        return wait_until(lambda: self.look_for(role, name), f"a {role} {name!r}", seconds)

    def look_for(self, role, name):
        """The same now; None when there is none."""
        return self._tried(lambda: next(
            (control for control in self._controls() if self._role(control) == role and
             name in self._names(control) and self._is(control, "SHOWING")), None))

    def press(self, role, name, action="Press"):
        """Does what a click would do."""
        control = self.find(role, name)
        actions = [control.get_action_name(each) for each in range(control.get_n_actions())]
        control.do_action(actions.index(action))

    def is_checked(self, role, name):
        return self._is(self.find(role, name), "CHECKED")

    def focus(self, role, name):
        """Goes there with the Tab key."""
        for _ in range(30):
            if self._is(self.find(role, name), "FOCUSED"):
                return
            before = self._focused()
            self._desktop.keys("Tab")
            wait_until(lambda: self._focused() != before, "Tab moves the focus")
        raise AssertionError(f"Tab does not reach the {role} {name!r}")

    def _focused(self):
        return self._tried(lambda: [(control.get_role_name(), *sorted(self._names(control)))
                                    for control in self._controls() if self._is(control, "FOCUSED")])

    @staticmethod
    def _role(control):
        """Newer releases of AT-SPI say "button" for it."""
        role = control.get_role_name()
        return "push button" if role == "button" else role

    @staticmethod
    def _tried(look):
        """None when a control has gone while it was looked at."""
        try:
            return look()
        except GLib.Error:
            return None

    def _is(self, control, state):
        return control.get_state_set().contains(getattr(self._atspi.StateType, state))

    def _controls(self):
        """Everything of the program, read anew."""
        programs = self._children(self._atspi.get_desktop(0))
        left = [program for program in programs if program.get_name() == self._application]
        for program in left:
            program.set_cache_mask(self._atspi.Cache.NONE)
        while left:
            control = left.pop(0)
            yield control
            left.extend(self._children(control))

    @staticmethod
    def _children(parent):
        children = [parent.get_child_at_index(each) for each in range(parent.get_child_count())]
        return [child for child in children if child is not None]

    def _names(self, control):
        names = {control.get_name()}
        for relation in control.get_relation_set():
            if relation.get_relation_type() == self._atspi.RelationType.LABELLED_BY:
                names.update(relation.get_target(index).get_name()
                             for index in range(relation.get_n_targets()))
        return names
