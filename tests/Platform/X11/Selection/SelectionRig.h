#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Platform/QueueingRunLoop.h"
#include "Platform/X11/Selection/ScriptedOwner.h"
#include "Platform/X11/Selection/X11Pasteboard.h"

namespace stowboard {

inline OwnerScript offering(std::vector<OfferedFormat> formats) {
  OwnerScript script;
  script.formats = std::move(formats);
  return script;
}

inline OwnerScript text(std::string utf8) { return offering({{"UTF8_STRING", std::move(utf8)}}); }

/// The same, but it does not answer requests for `target` before it is released.
inline OwnerScript holding(OwnerScript script, const std::string& target) {
  script.heldTargets = {target};
  return script;
}

inline std::string largeText(std::size_t size) {
  std::string text;
  while (text.size() < size) text += "line → " + std::to_string(text.size()) + "\n";
  return text;
}

/// Windows go by their class, others by "process".
struct NamedByClass final : ApplicationIdentifying {
  std::optional<std::string> applicationId(const WindowTraits& window) const override {
    const bool isOfThisProcess = window.processIdentifier == getpid();
    return !window.wmClass.empty() ? window.wmClass : isOfThisProcess ? "process" : "unknown";
  }
  bool isTerminal(const std::string&) const override { return false; }
};

/// A pasteboard, its main loop, and the programs that copy.
template <typename Codec>
class SelectionRig {
 public:
  SelectionRig() { open({}); }

  void open(const SelectionOptions& options) {
    pasteboard_.reset();
    pasteboard_ = X11Pasteboard::create(loop_, codec_, applications_, options);
    ASSERT_TRUE(pasteboard_) << "these tests need an X server";
    seen_.clear();
    pasteboard_->onMoved = [this] { seen_.push_back(currentText()); };
  }

  ScriptedOwner& copy(OwnerScript script) {
    owners_.push_back(std::make_unique<ScriptedOwner>(std::move(script)));
    return *owners_.back();
  }
  /// Returns when the program has been asked for the target that it holds.
  ScriptedOwner& copyHolding(OwnerScript script, const std::string& target) {
    auto& owner = copy(holding(std::move(script), target));
    EXPECT_TRUE(loop_.runUntil([&] { return owner.wasAskedFor(target); })) << target;
    return owner;
  }
  void copyAndAwait(OwnerScript script) {
    const auto before = seen_.size();
    copy(std::move(script));
    awaitMoves(before + 1);
  }
  void awaitMoves(std::size_t count) {
    ASSERT_TRUE(loop_.runUntil([&] { return seen_.size() >= count; }))
        << "only " << seen_.size() << " of " << count << " moves came";
  }
  void awaitIdle(const ScriptedOwner& owner) {
    ASSERT_TRUE(loop_.runUntil([&] { return owner.isIdle(); }));
  }
  void turn() {
    ASSERT_TRUE(loop_.runUntil([turned = false]() mutable { return std::exchange(turned, true); }));
  }

  std::string currentText() const {
    return std::string(pasteboard_->string(PasteboardType::string).value_or(Text("<none>")).view());
  }

  QueueingRunLoop loop_;
  Codec codec_;
  NamedByClass applications_;
  // The text of each content announced.
  std::vector<std::string> seen_;
  std::unique_ptr<X11Pasteboard> pasteboard_;
  std::vector<std::unique_ptr<ScriptedOwner>> owners_;
};

}  // namespace stowboard
