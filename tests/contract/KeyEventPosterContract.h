#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Platform/KeyEventPoster.h"

namespace stowboard {

/// What every KeyEventPoster has to hold. A Harness has poster(); seen(), the strokes that the
/// application in front saw: "paste" for its paste chord, "return" for that key alone; and
/// turnUntil(condition).
template <typename Harness>
class KeyEventPosterContract : public ::testing::Test {
 protected:
  void post(std::uint32_t keyCode, std::uint64_t flags) {
    for (const bool isKeyDown : {true, false}) {
      auto event = harness_.poster().createSource()->createKeyEvent(keyCode, isKeyDown);
      ASSERT_TRUE(event);
      event->flags = flags;
      harness_.poster().post(*event);
    }
  }

  Harness harness_;
};

TYPED_TEST_SUITE_P(KeyEventPosterContract);

TYPED_TEST_P(KeyEventPosterContract, SendsEachStrokeOnceAndInOrder) {
  constexpr std::uint32_t v = 9;
  constexpr std::uint32_t enter = 36;
  this->post(v, KeyEventFlags::command);
  this->post(enter, KeyEventFlags::none);
  this->post(v, KeyEventFlags::command);
  const std::vector<std::string> expected{"paste", "return", "paste"};
  this->harness_.turnUntil([&] { return this->harness_.seen().size() >= expected.size(); });
  EXPECT_EQ(this->harness_.seen(), expected);
}

TYPED_TEST_P(KeyEventPosterContract, MakesEventsOfRealKeysOnly) {
  const auto source = this->harness_.poster().createSource();
  EXPECT_EQ(source->createKeyEvent(9, true), (KeyEvent{9, true, KeyEventFlags::none}));
  EXPECT_FALSE(source->createKeyEvent(200, true));
}

REGISTER_TYPED_TEST_SUITE_P(KeyEventPosterContract, SendsEachStrokeOnceAndInOrder,
                            MakesEventsOfRealKeysOnly);

}  // namespace stowboard
