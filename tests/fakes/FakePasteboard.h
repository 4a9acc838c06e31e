#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Pasteboard.h"

namespace stowboard {

/// A pasteboard whose content the test sets. Announces its moves unless told otherwise.
class FakePasteboard : public Pasteboard {
 public:
  using Content = std::map<std::string, std::string, std::less<>>;

  bool announces = true;
  bool hasTypeList = true;
  /// Told with the next copies.
  std::optional<std::vector<std::string>> sourceIds;
  /// What the owner gives when it is asked again; it is not there yet, or never, as the test says.
  std::optional<Content> secondAnswer;
  Rereading state = Rereading::ended;
  /// How often data or a string was asked for.
  mutable int reads = 0;

  /// Another program's copy.
  void copy(Content content) {
    write(std::move(content));
    if (announces && onMoved) onMoved();
  }
  void copyText(std::string text) {
    copy({{std::string(PasteboardType::string), std::move(text)}});
  }

  /// Our own write: moves the count without an announcement.
  void write(Content content) {
    content_ = std::move(content);
    isOurs_ = false;
    changeCount_ += 1;
  }

  std::int64_t changeCount() const override { return changeCount_; }

  std::optional<std::vector<std::string>> types() const override {
    if (!hasTypeList) return std::nullopt;
    std::vector<std::string> names;
    for (const auto& [name, content] : content_) names.push_back(name);
    return names;
  }

  std::optional<Bytes> data(std::string_view type) const override {
    reads += 1;
    const auto found = content_.find(type);
    if (found == content_.end()) return std::nullopt;
    return Bytes(found->second);
  }

  std::optional<Text> string(std::string_view type) const override {
    const auto bytes = data(type);
    return bytes ? std::optional(Text(std::string(bytes->view()))) : std::nullopt;
  }

  std::optional<std::vector<std::string>> sources() const override { return sourceIds; }
  void discard() override { content_.clear(); }
  void reread() override {
    if (secondAnswer) content_ = *std::exchange(secondAnswer, std::nullopt);
  }
  Rereading rereading() const override { return state; }

  bool announcesMoves() const override { return announces; }

  void clearContents() override {
    write({});
    isOurs_ = true;
  }
  void setString(const Text& text, std::string_view type) override { setData(text.bytes(), type); }
  void setData(const Bytes& data, std::string_view type) override {
    if (isOurs_) content_.insert_or_assign(std::string(type), std::string(data.view()));
  }
  void writeImage(std::shared_ptr<const Image> image) override {
    for (const auto& type : image->representationTypes()) {
      setData(image->representation(type).value_or(Bytes()), type);
    }
  }

 private:
  std::int64_t changeCount_ = 0;
  Content content_;
  bool isOurs_ = false;
};

}  // namespace stowboard
