#pragma once

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QProcess>
#include <array>
#include <memory>
#include <string>

#include "Platform/X11/X11Connection.h"

namespace stowboard {

/// One application object for the whole program: Qt does not clear everything up behind several.
class DesktopApplication final : public ::testing::Environment {
 public:
  void SetUp() override {
    qputenv("QT_QPA_PLATFORM", "xcb");
    application_ = std::make_unique<QGuiApplication>(argc_, argv_);
  }
  void TearDown() override { application_.reset(); }

 private:
  int argc_ = 1;
  char name_[5] = "test";
  char* argv_[2] = {name_, nullptr};
  std::unique_ptr<QGuiApplication> application_;
};

/// A program that ends with the scope.
class Program {
 public:
  explicit Program(const QStringList& command) {
    process_.start(command.front(), command.mid(1));
    EXPECT_TRUE(process_.waitForStarted()) << command.front().toStdString();
  }
  ~Program() { end(); }

  std::int64_t processIdentifier() const { return process_.processId(); }
  std::string readLine() {
    while (!process_.canReadLine() && process_.waitForReadyRead()) continue;
    return process_.readLine().trimmed().toStdString();
  }
  void end() {
    process_.kill();
    process_.waitForFinished();
  }

 private:
  QProcess process_;
};

/// An X server of its own, with more arguments.
struct PrivateServer : Program {
  explicit PrivateServer(const QStringList& more = {})
      : Program(QStringList{"Xvfb", "-displayfd", "1", "-nolisten", "tcp"} + more) {}

  const std::string display = ":" + readLine();
};

/// A client of the window manager's. Its windows claim another machine, so that they are not taken
/// for this process's own.
class Client {
 public:
  X11Connection& connection() { return *connection_; }
  xcb_connection_t* xcb() { return connection_->xcb(); }

  /// WM_CLASS is that name twice.
  xcb_window_t open(const std::string& name, std::uint32_t events = 0) {
    const auto window = xcb_generate_id(xcb());
    // On XWayland a window is there once something is painted.
    const std::array values{std::uint32_t{0xffffff}, events};
    xcb_create_window(xcb(), XCB_COPY_FROM_PARENT, window, connection_->root(), 0, 0, 80, 60, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values.data());
    setText(window, XCB_ATOM_WM_CLASS, name + '\0' + name + '\0');
    setText(window, XCB_ATOM_WM_CLIENT_MACHINE, "elsewhere.example.org");
    xcb_map_window(xcb(), window);
    xcb_flush(xcb());
    return window;
  }
  void activate(xcb_window_t window) {
    sendToManager(window, "_NET_ACTIVE_WINDOW", {2, XCB_CURRENT_TIME, 0, 0, 0});
  }
  void iconify(xcb_window_t window) { sendToManager(window, "WM_CHANGE_STATE", {3, 0, 0, 0, 0}); }
  void close(xcb_window_t window) {
    xcb_destroy_window(xcb(), window);
    xcb_flush(xcb());
  }

  /// _NET_SUPPORTING_WM_CHECK, another window for every window manager.
  std::string manager() {
    const auto property = connection_->atom("_NET_SUPPORTING_WM_CHECK");
    const auto reply = awaitReply(
        xcb_get_property_reply, xcb(),
        xcb_get_property(xcb(), 0, connection_->root(), property, XCB_ATOM_WINDOW, 0, 1));
    return {static_cast<const char*>(xcb_get_property_value(reply.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
  }

 private:
  void setText(xcb_window_t window, xcb_atom_t property, const std::string& text) {
    xcb_change_property(xcb(), XCB_PROP_MODE_REPLACE, window, property, XCB_ATOM_STRING, 8,
                        static_cast<std::uint32_t>(text.size()), text.data());
  }
  void sendToManager(xcb_window_t window, const char* type, std::array<std::uint32_t, 5> data) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = connection_->atom(type);
    std::copy(data.begin(), data.end(), message.data.data32);
    xcb_send_event(xcb(), 0, connection_->root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(xcb());
  }

  std::unique_ptr<X11Connection> connection_ = X11Connection::open("");
};

}  // namespace stowboard
