#include "Models/Json/Base64.h"

#include <gtest/gtest.h>

#include <random>

namespace stowboard {
namespace {

std::string encoded(std::string_view bytes) {
  std::string text(base64Size(bytes.size()), '\0');
  text.resize(encodeBase64(bytes, text.data()) - text.data());
  return text;
}

TEST(Base64Test, encodesAndDecodesTheVectorsOfRfc4648) {
  const std::pair<std::string_view, std::string_view> rows[] = {
      {"", ""},
      {"f", "Zg=="},
      {"fo", "Zm8="},
      {"foo", "Zm9v"},
      {"foob", "Zm9vYg=="},
      {"fooba", "Zm9vYmE="},
      {"foobar", "Zm9vYmFy"},
      {"\xFB\xFF\xFE", "+//+"},
  };
  std::string decoded = "left from before";
  for (const auto& [bytes, text] : rows) {
    EXPECT_EQ(encoded(bytes), text);
    EXPECT_TRUE(decodeBase64(text, decoded)) << text;
    EXPECT_EQ(decoded, bytes);
  }
}

TEST(Base64Test, rejectsWhatIsNoPaddedStandardBase64) {
  std::string decoded;
  for (std::string_view text :
       {"Zg", "Zg=", "Zm9vYg", "Z===", "====", "=m9v", "Zg==Zg==", "Z=9v", "Zm9v\n", "Zm\n9v",
        "Zm9vZm9\nZm9v", "Zm-_", "Zm 9v", "Zm9\xC3", "Zm=v", "Zm9vZm=v"}) {
    EXPECT_FALSE(decodeBase64(text, decoded)) << text;
  }
}

TEST(Base64Test, bringsBackBytesOfEveryLength) {
  std::mt19937 random(7);
  std::string bytes;
  std::string decoded;
  for (int length = 0; length < 200; ++length) {
    EXPECT_TRUE(decodeBase64(encoded(bytes), decoded));
    EXPECT_EQ(decoded, bytes);
    bytes += static_cast<char>(random());
  }
}

}  // namespace
}  // namespace stowboard
