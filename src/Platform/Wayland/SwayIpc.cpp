#include "Platform/Wayland/SwayIpc.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QObject>
#include <QSocketNotifier>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "Base/Log.h"

namespace stowboard {

namespace {

// Types of messages, and the bit that tells events.
constexpr std::uint32_t runCommand = 0;
constexpr std::uint32_t subscribeTo = 2;
constexpr std::uint32_t getTree = 4;
constexpr std::uint32_t getVersion = 7;
constexpr std::uint32_t getConfig = 9;
constexpr std::uint32_t eventBit = 0x80000000;
constexpr std::string_view magic = "i3-ipc";
constexpr std::size_t headSize = magic.size() + 2 * sizeof(std::uint32_t);
// A configuration is some hundred kilobytes at most.
constexpr std::size_t longestMessage = 16 << 20;

struct Message {
  std::uint32_t type;
  std::string payload;
};

std::string withHead(std::uint32_t type, std::string_view payload) {
  const auto length = static_cast<std::uint32_t>(payload.size());
  std::string message(magic);
  message.append(reinterpret_cast<const char*>(&length), sizeof length);
  message.append(reinterpret_cast<const char*>(&type), sizeof type);
  return message.append(payload);
}

// Takes the first whole message out of what was received.
std::optional<Message> takeMessage(std::string& received) {
  if (received.size() < headSize) return std::nullopt;
  std::uint32_t length = 0;
  Message message{};
  std::memcpy(&length, received.data() + magic.size(), sizeof length);
  std::memcpy(&message.type, received.data() + magic.size() + sizeof length, sizeof message.type);
  if (received.size() - headSize < length) return std::nullopt;
  message.payload = received.substr(headSize, length);
  received.erase(0, headSize + length);
  return message;
}

// False at the end of the connection, or when nothing comes in time.
bool receive(int socket, std::string& received, int flags) {
  char part[8192];
  const auto size = ::recv(socket, part, sizeof part, flags);
  if (size > 0) received.append(part, static_cast<std::size_t>(size));
  return size > 0 && received.size() < longestMessage;
}

FileDescriptor connectTo(const char* path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path == nullptr || std::strlen(path) >= sizeof address.sun_path) return FileDescriptor();
  std::strcpy(address.sun_path, path);
  FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const timeval longest{1, 0};
  ::setsockopt(socket.number(), SOL_SOCKET, SO_RCVTIMEO, &longest, sizeof longest);
  ::setsockopt(socket.number(), SOL_SOCKET, SO_SNDTIMEO, &longest, sizeof longest);
  const auto* target = reinterpret_cast<const sockaddr*>(&address);
  if (::connect(socket.number(), target, sizeof address) != 0) return FileDescriptor();
  return socket;
}

bool send(int socket, std::uint32_t type, std::string_view payload) {
  const auto message = withHead(type, payload);
  const auto sent = ::send(socket, message.data(), message.size(), MSG_NOSIGNAL);
  return sent == static_cast<ssize_t>(message.size());
}

QJsonDocument parsed(const std::string& text) {
  return QJsonDocument::fromJson(QByteArray::fromStdString(text));
}

// Of the tree's windows, the one that fills the screen and has the focus.
std::uint64_t focusedFullscreenIn(const QJsonObject& node) {
  if (node["focused"].toBool() && node["fullscreen_mode"].toInt() != 0 &&
      node["type"].toString().endsWith("con")) {
    return static_cast<std::uint64_t>(node["id"].toInteger());
  }
  for (const auto* children : {"nodes", "floating_nodes"}) {
    for (const auto& child : node[QLatin1String(children)].toArray()) {
      if (const auto found = focusedFullscreenIn(child.toObject())) return found;
    }
  }
  return 0;
}

}  // namespace

std::shared_ptr<SwayIpc> SwayIpc::open() {
  auto socket = connectTo(std::getenv("SWAYSOCK"));
  if (!socket.isOpen()) return nullptr;
  return std::shared_ptr<SwayIpc>(new SwayIpc(std::move(socket)));
}

SwayIpc::SwayIpc(FileDescriptor socket) : socket_(std::move(socket)) {}

SwayIpc::~SwayIpc() = default;

std::string SwayIpc::ask(std::uint32_t type, std::string_view payload) {
  if (!send(socket_.number(), type, payload)) return {};
  std::string received;
  while (receive(socket_.number(), received, 0)) {
    if (auto message = takeMessage(received)) return std::move(message->payload);
  }
  // A late answer would be taken for that of the next question.
  socket_ = FileDescriptor();
  return {};
}

bool SwayIpc::run(std::string_view command) {
  const auto results = parsed(ask(runCommand, command)).array();
  for (const auto& each : results) {
    if (each.toObject()["success"].toBool()) continue;
    Log::app.error("sway refuses \"{}\": {}", command,
                   each.toObject()["error"].toString().toStdString());
    return false;
  }
  return !results.isEmpty();
}

std::string SwayIpc::configuration() {
  return parsed(ask(getConfig, ""))["config"].toString().toStdString();
}

std::string SwayIpc::configurationFile() {
  return parsed(ask(getVersion, ""))["loaded_config_file_name"].toString().toStdString();
}

std::uint64_t SwayIpc::focusedFullscreen() {
  return focusedFullscreenIn(parsed(ask(getTree, "")).object());
}

std::unique_ptr<SwayIpc::Subscription> SwayIpc::subscribe(
    std::string_view kinds, std::function<void(const Event&)> onEvent) {
  auto socket = connectTo(std::getenv("SWAYSOCK"));
  if (!socket.isOpen() || !send(socket.number(), subscribeTo, kinds)) return nullptr;
  return std::make_unique<Subscription>(std::move(socket), std::move(onEvent));
}

SwayIpc::Subscription::Subscription(FileDescriptor socket,
                                    std::function<void(const Event&)> onEvent)
    : socket_(std::move(socket)),
      onEvent_(std::move(onEvent)),
      notifier_(std::make_unique<QSocketNotifier>(socket_.number(), QSocketNotifier::Read)) {
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { readEvents(); });
}

SwayIpc::Subscription::~Subscription() = default;

// A callback may end the subscription.
void SwayIpc::Subscription::readEvents() {
  if (!receive(socket_.number(), received_, MSG_DONTWAIT) && errno != EAGAIN) {
    return notifier_->setEnabled(false);
  }
  std::vector<Event> events;
  while (const auto message = takeMessage(received_)) {
    if ((message->type & eventBit) == 0) continue;
    const auto json = parsed(message->payload);
    events.push_back({json["change"].toString().toStdString(),
                      json["binding"]["command"].toString().toStdString(),
                      static_cast<std::uint64_t>(json["container"]["window"].toInteger()),
                      json["container"]["focused"].toBool()});
  }
  const auto onEvent = onEvent_;
  for (const auto& event : events) onEvent(event);
}

}  // namespace stowboard
