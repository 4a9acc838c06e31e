#include "Base/Published.h"

#include <gmock/gmock.h>

#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace stowboard {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Writes down who received what, in order.
class PublishedTest : public testing::Test {
 protected:
  Subscription listen(const Publisher<int>& publisher, const std::string& name) {
    return publisher.sink([this, name](int value) { note(name, value); });
  }

  void note(const std::string& name, int value) {
    deliveries.push_back(name + std::to_string(value));
  }

  std::vector<std::string> take() { return std::exchange(deliveries, {}); }

  Published<int> number{0};
  std::vector<std::string> deliveries;
};

TEST_F(PublishedTest, DeliversTheCurrentValueAndEveryAssignmentInSubscriptionOrder) {
  const auto first = listen(number.publisher(), "a");
  const auto second = listen(number.publisher(), "b");
  EXPECT_THAT(take(), ElementsAre("a0", "b0"));
  number.assign(1);
  number.assign(1);
  EXPECT_THAT(take(), ElementsAre("a1", "b1", "a1", "b1"));
}

TEST_F(PublishedTest, OperatorsRunInTheOrderWritten) {
  const auto skippedFirst = listen(number.publisher().dropFirst().removeDuplicates(), "skip-drop");
  const auto droppedFirst = listen(number.publisher().removeDuplicates().dropFirst(), "drop-skip");
  for (const int value : {0, 0, 1, 1, 0}) number.assign(value);
  EXPECT_THAT(take(),
              ElementsAre("skip-drop0", "skip-drop1", "drop-skip1", "skip-drop0", "drop-skip0"));
}

TEST_F(PublishedTest, ADuplicateIsOneOfTheValueReceivedJustBeforeAlsoIfThatWasDropped) {
  const auto isNear = [](int previous, int value) { return value - previous < 2; };
  const auto subscription = listen(number.publisher().removeDuplicates(isNear), "");
  for (const int value : {1, 2, 3, 5}) number.assign(value);
  EXPECT_THAT(take(), ElementsAre("0", "5"));
}

TEST_F(PublishedTest, EachSubscriptionHasItsOwnStateAlsoFromOneChain) {
  const auto chain = number.publisher().dropFirst(2).filter([](int value) { return value != 2; });
  const auto early = listen(chain, "early");
  number.assign(1);
  const auto late = listen(chain, "late");
  for (const int value : {2, 3}) number.assign(value);
  EXPECT_THAT(take(), ElementsAre("early3", "late3"));
}

TEST_F(PublishedTest, MapTakesAFieldAndAFunction) {
  struct Record {
    std::string name;
  };
  Published<Record> record(Record{"four"});
  const auto subscription = record.publisher()
                                .map(&Record::name)
                                .map([](const std::string& name) { return int(name.size()); })
                                .sink([this](int length) { note("", length); });
  record.assign({"seven77"});
  EXPECT_THAT(take(), ElementsAre("4", "7"));
}

TEST_F(PublishedTest, AHandleEndsItsSubscriptionByDestructionCancellingAndAssignment) {
  {
    Cancellables cancellables;
    listen(number.publisher(), "stored").storeIn(cancellables);
    number.assign(1);
  }
  auto handle = listen(number.publisher(), "a");
  handle = listen(number.publisher(), "b");
  number.assign(2);
  handle.cancel();
  number.assign(3);
  EXPECT_THAT(take(), ElementsAre("stored0", "stored1", "a1", "b1", "b2"));
}

TEST_F(PublishedTest, ReceiveOnDeliversLaterAndNothingOnceTheHandleIsGone) {
  std::deque<std::function<void()>> queue;
  const auto later = number.publisher().receiveOn(
      [&queue](std::function<void()> task) { queue.push_back(std::move(task)); });
  auto gone = listen(later, "gone");
  const auto kept = listen(later.dropFirst(), "kept");
  number.assign(1);
  EXPECT_THAT(take(), IsEmpty());
  gone.cancel();
  for (const auto& task : queue) task();
  EXPECT_THAT(take(), ElementsAre("kept1"));
}

TEST_F(PublishedTest, AnAssignmentInsideADeliveryReachesEveryoneAfterTheOneItInterrupts) {
  const auto before = listen(number.publisher(), "before");
  const auto assigning = number.publisher().sink([this](const int& value) {
    note("assigning", value);
    if (value == 1) {
      number.assign(2);
      EXPECT_EQ(number.value(), 2);
      EXPECT_EQ(value, 1) << "the value being delivered stays as it was";
      note("assigned", value);
    }
  });
  const auto behind = number.publisher().sink([this](int value) {
    EXPECT_EQ(number.value(), value);
    note("behind", value);
  });
  take();
  number.assign(1);
  EXPECT_THAT(take(), ElementsAre("before1", "assigning1", "behind1", "before2", "assigning2",
                                  "behind2", "assigned1"));
}

TEST_F(PublishedTest, EveryoneSeesTheSameSequenceWhenSeveralAssignInsideDeliveries) {
  std::vector<int> first, last;
  const auto a = number.publisher().sink([&](int value) {
    first.push_back(value);
    if (value > 0 && value < 8) number.assign(value * 2);
  });
  const auto b = number.publisher().sink([&](int value) {
    if (value == 2 || value == 3) number.assign(value + 10);
  });
  const auto c = number.publisher().sink([&](int value) { last.push_back(value); });
  number.assign(1);
  number.assign(3);
  EXPECT_EQ(first, last);
  EXPECT_EQ(last.back(), number.value());
}

TEST_F(PublishedTest, SubscribersMayComeAndGoInsideADelivery) {
  Subscription self, other, added;
  self = number.publisher().sink([&, captured = std::make_shared<int>(7)](int value) {
    note("self", value);
    if (value == 0) return;
    self.cancel();
    other.cancel();
    EXPECT_EQ(*captured, 7) << "what is running keeps what it captured";
    added = listen(number.publisher(), "added");
  });
  other = listen(number.publisher(), "other");
  const auto last = listen(number.publisher(), "last");
  take();
  number.assign(1);
  number.assign(2);
  EXPECT_THAT(take(), ElementsAre("self1", "added1", "last1", "last2", "added2"));
}

TEST_F(PublishedTest, ASubscriberMayDestroyThePublishedValue) {
  auto owned = std::make_unique<Published<std::string>>("before");
  const auto publisher = owned->publisher();
  const auto destroying = publisher.dropFirst().sink([&](const std::string& value) {
    owned.reset();
    EXPECT_EQ(value, "after");
  });
  owned->assign("after");
  EXPECT_EQ(owned, nullptr);
  const auto late = publisher.sink([](const std::string&) { FAIL() << "there is no value left"; });
}

TEST_F(PublishedTest, AnAnnouncerTellsOfChangesButNotAtSubscription) {
  ChangeAnnouncer changes;
  int heard = 0;
  auto subscription = changes.subscribe([&] {
    if (++heard == 1) changes.announce();
  });
  EXPECT_EQ(heard, 0);
  changes.announce();
  EXPECT_EQ(heard, 2);
  subscription = {};
  changes.announce();
  EXPECT_EQ(heard, 2);
}

}  // namespace
}  // namespace stowboard
