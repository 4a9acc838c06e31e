#pragma once

#include "Platform/LoginItems.h"

namespace stowboard {

/// A list that keeps one registration, unless the test makes it refuse.
class FakeLoginItems : public LoginItems {
 public:
  Status current = Status::notRegistered;
  /// What every change fails with.
  std::optional<std::string> failure;

  Status status() const override { return current; }
  std::optional<std::string> registerApplication() override { return change(Status::enabled); }
  std::optional<std::string> unregisterApplication() override {
    return change(Status::notRegistered);
  }

 private:
  std::optional<std::string> change(Status status) {
    if (!failure) current = status;
    return failure;
  }
};

}  // namespace stowboard
