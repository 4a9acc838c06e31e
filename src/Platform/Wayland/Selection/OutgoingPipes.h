#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>

#include "Base/FileDescriptor.h"
#include "Platform/Clipboard/ClipboardOffer.h"
#include "Platform/Clipboard/TransferBuffer.h"

namespace stowboard {

/// Writes content into the pipes of those who asked for it. Any number at once, each at its
/// requester's own pace; all read from the one content. Never waits for a requester. Belongs to the
/// selection thread.
class OutgoingPipes {
 public:
  /// `patience`: how long a requester may take from one piece to the next. `watch` watches a pipe
  /// for room to write, until it is closed. What takes its time is encoded in the background.
  OutgoingPipes(std::chrono::milliseconds patience, std::function<void(int descriptor)> watch,
                Background background);

  /// Writes the offer's content of that type, or begins to, and closes the pipe when it is there.
  void send(const std::shared_ptr<ClipboardOffer>& offer, const std::string& type,
            FileDescriptor pipe);
  /// A pipe has room, or was given up by its reader. False for one that is not of these.
  bool handle(int descriptor);

  /// Absent when nothing is under way.
  std::optional<SteadyTime> deadline() const;
  void expire();

 private:
  struct Transfer {
    FileDescriptor pipe;
    Bytes content;
    SteadyTime deadline;
    std::size_t sent = 0;
  };

  void begin(const ClipboardOffer& offer, const std::string& type, FileDescriptor pipe);
  /// False when it is over.
  bool write(Transfer& transfer) const;

  const std::chrono::milliseconds patience_;
  const std::function<void(int)> watch_;
  const Background background_;
  std::list<Transfer> transfers_;
};

}  // namespace stowboard
