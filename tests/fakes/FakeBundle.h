#pragma once

#include <map>
#include <string>
#include <utility>

#include "Platform/Bundle.h"

namespace stowboard {

class FakeBundle : public Bundle {
 public:
  explicit FakeBundle(std::filesystem::path supportFolder)
      : supportFolder_(std::move(supportFolder)) {}

  std::map<std::string, std::string> variables;

  std::string identifier() const override { return "com.qarvin.stowboard"; }
  std::string version() const override { return "1.2.3"; }
  std::filesystem::path executable() const override { return "/usr/bin/stowboard"; }
  std::filesystem::path applicationSupportFolder() const override { return supportFolder_; }
  std::optional<std::string> environment(const std::string& name) const override {
    const auto found = variables.find(name);
    return found == variables.end() ? std::nullopt : std::optional(found->second);
  }

 private:
  std::filesystem::path supportFolder_;
};

}  // namespace stowboard
