#pragma once

#include <memory>
#include <vector>

#include "Platform/KeyEventPoster.h"

namespace stowboard {

/// Keeps what was posted.
class FakeKeyEventPoster final : public KeyEventPoster {
 public:
  bool hasSource = true;
  std::vector<KeyEvent> posted;

  std::unique_ptr<Source> createSource() override {
    return hasSource ? std::make_unique<FakeSource>() : nullptr;
  }
  void post(const KeyEvent& event) override { posted.push_back(event); }
  void whenSent(std::function<void()> done) override { done(); }

 private:
  struct FakeSource : Source {
    std::optional<KeyEvent> createKeyEvent(std::uint32_t keyCode, bool isKeyDown) override {
      if (keyCode > 127) return std::nullopt;
      return KeyEvent{keyCode, isKeyDown, KeyEventFlags::none};
    }
  };
};

}  // namespace stowboard
