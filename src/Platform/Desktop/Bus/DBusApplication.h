#pragma once

#include <chrono>
#include <memory>

#include "Platform/ApplicationPresence.h"
#include "Platform/Bundle.h"
#include "Platform/Desktop/BusNotifier.h"

namespace stowboard {

/// The program's name on the session bus, which answers to org.freedesktop.Application (Desktop
/// Entry standard, "D-Bus Activation"). The bus name is the application id, the object path the
/// same with slashes for dots. Should the bus go away, the program runs on without it, and takes
/// its name again when the bus is back. While the session is locked it does not paste.
///
/// It needs no toolkit until serve(), and nothing waits once claim() has returned.
class DBusApplication final : public ApplicationPresence {
 public:
  /// Takes the application id as a name on the session bus, or activates the program that has it,
  /// passing on the launcher's token from the environment. Waits, but no longer than `bound`.
  static Claim claim(const Bundle& bundle, std::chrono::milliseconds bound);

  ~DBusApplication() override;

  void serve(RunLoop& runLoop, Actions actions) override;

 private:
  class Connection;
  class Service;

  explicit DBusApplication(std::unique_ptr<Connection> connection);

  const std::unique_ptr<Connection> connection_;
  std::unique_ptr<LastingBus> bus_;
  std::unique_ptr<Service> service_;
};

}  // namespace stowboard
