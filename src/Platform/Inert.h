#pragma once

#include "Platform/Pasteboard.h"
#include "Platform/Workspace.h"

namespace stowboard {

/// A pasteboard that never has content, for a session whose clipboard cannot be reached.
class InertPasteboard : public Pasteboard {
 public:
  std::int64_t changeCount() const override { return 0; }
  std::optional<std::vector<std::string>> types() const override { return std::nullopt; }
  std::optional<Bytes> data(std::string_view) const override { return std::nullopt; }
  std::optional<Text> string(std::string_view) const override { return std::nullopt; }
  void clearContents() override {}
  void setString(const Text&, std::string_view) override {}
  void setData(const Bytes&, std::string_view) override {}
  void writeImage(std::shared_ptr<const Image>) override {}
  void handOver(std::function<void()> done) override { done(); }
  bool announcesMoves() const override { return true; }
};

/// A workspace that knows no application.
class InertWorkspace : public Workspace {
 public:
  std::optional<RunningApplication> frontmostApplication() const override { return std::nullopt; }
  bool isTerminated(const RunningApplication&) const override { return true; }
  bool activate(const RunningApplication&) override { return false; }
};

}  // namespace stowboard
