// The history file: an array of clips.

#include <fmt/format.h>

#include <cmath>
#include <utility>

#include "Models/Json/Base64.h"
#include "Models/Json/JsonRecord.h"

namespace stowboard {

namespace {

using Kind = JsonValue::Kind;

constexpr std::string_view isFine;
constexpr std::string_view isNoString = "is not a string";

struct ClipDraft {
  std::optional<Uuid> id;
  std::optional<ClipType> type;
  std::optional<Text> textContent;
  std::optional<Bytes> rtfData;
  std::optional<Bytes> imageData;
  std::optional<Timestamp> timestamp;
};

std::string_view takeId(ClipDraft& draft, const JsonValue& value) {
  if (value.kind != Kind::string) return isNoString;
  draft.id = Uuid::fromString(value.text);
  return draft.id ? isFine : "is not a UUID";
}

std::string_view takeType(ClipDraft& draft, const JsonValue& value) {
  if (value.kind != Kind::string) return isNoString;
  draft.type = clipTypeFromRawValue(value.text);
  return draft.type ? isFine : "is none of text, rtf and image";
}

std::string_view takeText(ClipDraft& draft, const JsonValue& value) {
  draft.textContent.reset();
  if (value.kind == Kind::null) return isFine;
  if (value.kind != Kind::string) return isNoString;
  draft.textContent = Text::fromUtf8(Bytes(std::string(value.text)));
  return draft.textContent ? isFine : "is not valid UTF-8";
}

template <std::optional<Bytes> ClipDraft::* data>
std::string_view takeData(ClipDraft& draft, const JsonValue& value) {
  (draft.*data).reset();
  if (value.kind == Kind::null) return isFine;
  if (value.kind != Kind::string) return isNoString;
  std::string decoded;
  if (!decodeBase64(value.text, decoded)) return "is not Base64";
  draft.*data = Bytes(std::move(decoded));
  return isFine;
}

std::string_view takeTimestamp(ClipDraft& draft, const JsonValue& value) {
  if (value.kind != Kind::number) return "is not a number";
  const std::optional<double> seconds = value.asDouble();
  if (!seconds) return "is out of range";
  draft.timestamp = Timestamp{*seconds};
  return isFine;
}

constexpr std::array<JsonField<ClipDraft>, 6> clipFields{{
    {"id", true, takeId},
    {"type", true, takeType},
    {"textContent", false, takeText},
    {"rtfData", false, takeData<&ClipDraft::rtfData>},
    {"imageData", false, takeData<&ClipDraft::imageData>},
    {"timestamp", true, takeTimestamp},
}};

class HistoryHandler : public NestingJsonHandler {
 public:
  bool onKey(std::string_view key) override {
    if (depth_ == inClip) {
      clip_.onKey(key);
      key_.assign(key);
    }
    return isUtf8(key) || fail("a key is not valid UTF-8");
  }

  bool onClose() override {
    --depth_;
    return depth_ != inArray || finishClip();
  }

  std::string place() const override {
    if (depth_ == outside) return "the history";
    const std::string clip = fmt::format("clip {}", clips_.size());
    return depth_ == inArray || key_.empty() ? clip : clip + ": " + quotedKey(key_);
  }

  DecodingResult<std::vector<ClipItem>> result(JsonReading reading) {
    if (auto error = errorOf(reading)) return *std::move(error);
    return std::move(clips_);
  }

 private:
  enum Depth : std::size_t { outside, inArray, inClip };

  bool take(const JsonValue& value) override {
    switch (depth_) {
      case outside:
        return value.kind == Kind::array || failHere("is not an array");
      case inArray:
        if (value.kind != Kind::object) return failHere("is not an object");
        clip_.begin();
        key_.clear();
        return true;
      case inClip:
        if (clip_.onValue(value)) return true;
        break;
    }
    return isUtf8(value.text) || failHere("is not valid UTF-8");
  }

  bool finishClip() {
    if (auto problem = clip_.firstProblem()) {
      return fail(fmt::format("clip {}: {}", clips_.size(), *problem));
    }
    ClipDraft& draft = clip_.draft;
    clips_.emplace_back(*draft.id, *draft.type, std::move(draft.textContent),
                        std::move(draft.rtfData), std::move(draft.imageData), *draft.timestamp);
    return true;
  }

  bool failHere(std::string_view what) { return fail(fmt::format("{} {}", place(), what)); }

  std::vector<ClipItem> clips_;
  JsonRecord<ClipDraft, clipFields.size()> clip_{clipFields};
};

void writeClip(const ClipItem& clip, JsonWriter& writer) {
  writer.raw("{\"id\":");
  writer.string(clip.id().toString());
  writer.raw(",\"type\":");
  writer.string(rawValue(clip.type()));
  if (clip.textContent()) {
    writer.raw(",\"textContent\":");
    writer.string(clip.textContent()->view());
  }
  if (clip.rtfData()) {
    writer.raw(",\"rtfData\":");
    writer.base64(clip.rtfData()->view());
  }
  if (clip.imageData()) {
    writer.raw(",\"imageData\":");
    writer.base64(clip.imageData()->view());
  }
  writer.raw(",\"timestamp\":");
  writer.number(clip.timestamp().secondsSinceReferenceDate);
  writer.raw("}");
}

}  // namespace

bool encodeJson(std::span<const ClipItem> clips, const JsonSink& sink) {
  JsonWriter writer(sink);
  std::string_view before = "[";
  for (const ClipItem& clip : clips) {
    writer.raw(before);
    writeClip(clip, writer);
    if (writer.hasFailed()) return false;
    before = ",";
  }
  writer.raw(clips.empty() ? "[]" : "]");
  return writer.finish();
}

DecodingResult<std::vector<ClipItem>> decodeHistory(const JsonSource& source) {
  HistoryHandler handler;
  return handler.result(readJson(source, handler));
}

DecodingResult<std::vector<ClipItem>> decodeHistory(std::string_view json) {
  return decodeHistory([&] { return std::exchange(json, {}); });
}

}  // namespace stowboard
