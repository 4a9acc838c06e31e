#pragma once

#include <gtest/gtest.h>
#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <QProcess>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

#include "Platform/X11/Keys/X11Keys.h"
#include "Platform/X11/X11Connection.h"

namespace stowboard {

/// Runs a shell's command to its end.
inline void runInShell(const std::string& command) {
  QProcess::execute("sh", {"-c", QString::fromStdString(command)});
}

/// Someone at the keyboard: presses keys of the server's own keyboard, apart from those that
/// programs press through XTest.
class Typist {
 public:
  static constexpr xcb_keycode_t control = 37, shift = 50, alt = 64, super = 133, capsLock = 66,
                                 numLock = 77, one = 10, two = 11, three = 12, v = 55;

  Typist() : connection_(X11Connection::open("")) {
    firstInputEvent_ = findExtension(xcb(), xcb_input_id)->first_event;
    awaitReply(xcb_input_xi_query_version_reply, xcb(), xcb_input_xi_query_version(xcb(), 2, 2));
    findKeyboard();
    EXPECT_NE(keyboard_, 0);
  }
  ~Typist() {
    for (int key = 8; key < 256; ++key) release(static_cast<xcb_keycode_t>(key));
    sync();
  }

  X11Connection& connection() { return *connection_; }

  void press(xcb_keycode_t key) { fake(firstInputEvent_ + XCB_INPUT_DEVICE_KEY_PRESS, key); }
  void press(std::initializer_list<xcb_keycode_t> keys) {
    for (const auto key : keys) press(key);
  }
  /// `after` milliseconds, which the server lets pass before it goes on with this connection.
  void release(xcb_keycode_t key, std::uint32_t after = 0) {
    fake(firstInputEvent_ + XCB_INPUT_DEVICE_KEY_RELEASE, key, after);
  }
  void release(std::initializer_list<xcb_keycode_t> keys) {
    for (const auto key : keys) release(key);
  }
  void tap(xcb_keycode_t key) {
    press(key);
    release(key);
    sync();
  }
  void pressThroughXTest(xcb_keycode_t key) { fake(XCB_KEY_PRESS, key); }
  void releaseThroughXTest(xcb_keycode_t key) { fake(XCB_KEY_RELEASE, key); }

  /// Returns when the server has done everything asked before.
  void sync() { focus(); }
  /// The window that the keys go to.
  xcb_window_t focus() {
    return awaitReply(xcb_get_input_focus_reply, xcb(), xcb_get_input_focus(xcb()))->focus;
  }

  /// The keys that are down for applications.
  X11KeySet down() {
    const auto reply = awaitReply(xcb_query_keymap_reply, xcb(), xcb_query_keymap(xcb()));
    return x11KeySet(reply->keys);
  }
  /// The same of the device that programs type on.
  X11KeySet downThroughXTest() {
    const auto reply =
        awaitReply(xcb_input_query_device_state_reply, xcb(),
                   xcb_input_query_device_state(xcb(), static_cast<std::uint8_t>(xtestKeyboard_)));
    const auto state = xcb_input_query_device_state_classes_iterator(reply.get());
    return x11KeySet(reinterpret_cast<const xcb_input_key_state_t*>(state.data)->keys);
  }
  /// The modifiers in force, locked ones included.
  unsigned modifiers() {
    const auto asked = xcb_query_pointer(xcb(), connection_->root());
    return awaitReply(xcb_query_pointer_reply, xcb(), asked)->mask & 0xffU;
  }

 private:
  xcb_connection_t* xcb() { return connection_->xcb(); }

  void fake(int type, xcb_keycode_t key, std::uint32_t after = 0) {
    const bool isOfDevice = type > XCB_KEY_RELEASE;
    xcb_test_fake_input(xcb(), static_cast<std::uint8_t>(type), key, after, XCB_NONE, 0, 0,
                        isOfDevice ? static_cast<std::uint8_t>(keyboard_) : 0);
    xcb_flush(xcb());
  }

  void findKeyboard() {
    const auto reply = awaitReply(xcb_input_xi_query_device_reply, xcb(),
                                  xcb_input_xi_query_device(xcb(), XCB_INPUT_DEVICE_ALL));
    auto each = xcb_input_xi_query_device_infos_iterator(reply.get());
    for (; each.rem > 0; xcb_input_xi_device_info_next(&each)) {
      const std::string_view name(
          xcb_input_xi_device_info_name(each.data),
          static_cast<std::size_t>(xcb_input_xi_device_info_name_length(each.data)));
      if (each.data->type != XCB_INPUT_DEVICE_TYPE_SLAVE_KEYBOARD) continue;
      (name.find("XTEST") == name.npos ? keyboard_ : xtestKeyboard_) = each.data->deviceid;
    }
  }

  std::unique_ptr<X11Connection> connection_;
  int firstInputEvent_ = 0;
  int keyboard_ = 0;
  int xtestKeyboard_ = 0;
};

}  // namespace stowboard
