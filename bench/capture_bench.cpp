// From a program's taking the clipboard to its content on our main thread, beside a plain X client
// that makes the same requests and nothing else.
//
// Run it as: tools/session/with-desktop build/bench/bench/capture_bench

#include <fmt/format.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "Platform/Desktop/Applications/InstalledApplications.h"
#include "Platform/Qt/QtImageCodec.h"
#include "Platform/QueueingRunLoop.h"
#include "Platform/X11/Selection/ScriptedOwner.h"
#include "Platform/X11/Selection/X11Pasteboard.h"
#include "Platform/X11/X11Connection.h"

namespace stowboard {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

double median(std::vector<double> values) {
  std::ranges::sort(values);
  return values.at(values.size() / 2);
}

/// The reference: TARGETS, then UTF8_STRING, one blocking step after the other.
class PlainReader {
 public:
  PlainReader()
      : connection_(X11Connection::open({})),
        window_(connection_->createWindow(XCB_EVENT_MASK_PROPERTY_CHANGE)),
        property_(connection_->atom("PLAIN_READER")) {
    xcb_xfixes_select_selection_input(connection_->xcb(), connection_->root(),
                                      connection_->atom("CLIPBOARD"),
                                      XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER);
    connection_->atom("TARGETS");
    connection_->atom("UTF8_STRING");
  }

  /// The text of the next owner.
  std::string read() {
    const auto event = await(connection_->xfixesEventBase());
    const auto time = reinterpret_cast<xcb_xfixes_selection_notify_event_t&>(*event).timestamp;
    convert("TARGETS", time);
    return convert("UTF8_STRING", time);
  }

 private:
  XcbPointer<xcb_generic_event_t> await(int type) {
    for (;;) {
      XcbPointer<xcb_generic_event_t> event(xcb_wait_for_event(connection_->xcb()));
      if (!event) std::abort();
      if ((event->response_type & 0x7F) == type) return event;
    }
  }

  std::string convert(std::string_view target, xcb_timestamp_t time) {
    xcb_convert_selection(connection_->xcb(), window_, connection_->atom("CLIPBOARD"),
                          connection_->atom(target), property_, time);
    xcb_flush(connection_->xcb());
    await(XCB_SELECTION_NOTIFY);
    std::string content;
    if (take(content) != connection_->atom("INCR")) return content;
    content.clear();
    for (auto size = content.size();; size = content.size()) {
      xcb_flush(connection_->xcb());
      await(XCB_PROPERTY_NOTIFY);
      if (take(content) != XCB_ATOM_NONE && content.size() == size) return content;
    }
  }

  xcb_atom_t take(std::string& content) {
    const auto kind =
        connection_->takeProperty(window_, property_, [&](PropertyKind, std::string_view piece) {
          content.append(piece);
          return true;
        });
    return kind.value_or(PropertyKind{}).type;
  }

  std::unique_ptr<X11Connection> connection_;
  xcb_window_t window_;
  xcb_atom_t property_;
};

/// The adapter with a main loop of its own.
class Capture {
 public:
  Capture() : pasteboard_(X11Pasteboard::create(loop_, codec_, applications_, {})) {
    if (!pasteboard_) std::abort();
  }

  std::size_t read() {
    const auto before = pasteboard_->changeCount();
    if (!loop_.runUntil([&] { return pasteboard_->changeCount() > before; })) std::abort();
    return pasteboard_->data(PasteboardType::string).value_or(Bytes()).size();
  }

 private:
  QueueingRunLoop loop_;
  QtImageCodec codec_;
  InstalledApplications applications_;
  std::unique_ptr<X11Pasteboard> pasteboard_;
};

double measure(const std::function<void()>& copy, const std::function<std::size_t()>& read,
               std::size_t expectedSize) {
  const auto begin = Clock::now();
  copy();
  const auto size = read();
  const Milliseconds taken = Clock::now() - begin;
  if (size != expectedSize) fmt::print("WRONG SIZE: {} instead of {}\n", size, expectedSize);
  return taken.count();
}

void measureShortText() {
  const std::string text = "A short text, as people copy them.";
  OwnerScript script;
  script.formats = {{"UTF8_STRING", text}, {"STRING", text}, {"text/plain", text}};
  ScriptedOwner owner(script);
  const auto copy = [&owner] { owner.take(); };
  std::vector<double> captured, plain;
  // In turns, so that whatever else the machine does meets both alike.
  for (int round = 0; round < 10; ++round) {
    // Gone before the plain client measures: both would be asking at once.
    {
      Capture capture;
      for (int i = 0; i < 50; ++i) {
        captured.push_back(measure(copy, [&] { return capture.read(); }, text.size()));
      }
    }
    PlainReader reader;
    for (int i = 0; i < 50; ++i) {
      plain.push_back(measure(copy, [&] { return reader.read().size(); }, text.size()));
    }
  }
  fmt::print(
      "short text: {:.3f} ms, slowest of {} {:.3f} ms; plain client {:.3f} ms; ratio {:.2f}\n",
      median(captured), captured.size(), *std::ranges::max_element(captured), median(plain),
      median(captured) / median(plain));
}

/// Another process that takes the clipboard for each line that it is sent, so that its memory is
/// not counted as ours.
class OwnerProcess {
 public:
  OwnerProcess(const char* self, std::size_t size) {
    const auto command = fmt::format("{} --own {}", self, size);
    pipe_ = popen(command.c_str(), "w");
  }
  ~OwnerProcess() { pclose(pipe_); }
  OwnerProcess(const OwnerProcess&) = delete;
  OwnerProcess& operator=(const OwnerProcess&) = delete;

  void copy() {
    std::fputs("\n", pipe_);
    std::fflush(pipe_);
  }

  static int run(std::size_t size) {
    OwnerScript script;
    script.chunkSize = std::size_t{1} << 20;
    script.formats = {{"UTF8_STRING", std::string(size, 'x')}};
    std::unique_ptr<ScriptedOwner> owner;
    while (std::getchar() != EOF) {
      if (owner) owner->take();
      if (!owner) owner = std::make_unique<ScriptedOwner>(script);
    }
    return 0;
  }

 private:
  FILE* pipe_;
};

double memoryInMegabytes(const std::string& field) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(field + ":")) return std::stod(line.substr(field.size() + 1)) / 1024;
  }
  return 0;
}

void measureLargeText(const char* self, std::size_t size) {
  OwnerProcess owner(self, size);
  const auto copy = [&owner] { owner.copy(); };
  std::vector<double> captured, plain, memory;
  for (int round = 0; round < 5; ++round) {
    {
      Capture capture;
      // Resets the peak (proc(5)).
      std::ofstream("/proc/self/clear_refs") << 5;
      const double before = memoryInMegabytes("VmRSS");
      captured.push_back(measure(copy, [&] { return capture.read(); }, size));
      memory.push_back(memoryInMegabytes("VmHWM") - before);
    }
    PlainReader reader;
    plain.push_back(measure(copy, [&] { return reader.read().size(); }, size));
  }
  const double megabytes = static_cast<double>(size) / (1 << 20);
  fmt::print(
      "{:.0f} MB by INCR: {:.1f} ms; plain client {:.1f} ms; ratio {:.2f}; peak {:.2f} times "
      "the text\n",
      megabytes, median(captured), median(plain), median(captured) / median(plain),
      median(memory) / megabytes);
}

int run(int count, char** arguments) {
  if (count == 3 && std::string_view(arguments[1]) == "--own") {
    return OwnerProcess::run(std::stoul(arguments[2]));
  }
  if (!X11Connection::open({})) {
    fmt::print(stderr, "capture_bench needs an X server; see tools/session/with-desktop\n");
    return 1;
  }
  measureShortText();
  for (const std::size_t megabytes : {1, 10, 50}) measureLargeText(arguments[0], megabytes << 20);
  return 0;
}

}  // namespace
}  // namespace stowboard

int main(int count, char** arguments) { return stowboard::run(count, arguments); }
