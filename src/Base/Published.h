#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace stowboard {

class Subscription;

/// The handles that an object keeps for as long as it wants to hear of changes.
using Cancellables = std::vector<Subscription>;

/// The handle of one subscription, which ends when the handle is destroyed, cancelled or assigned
/// over. Nothing is delivered after that, also not what was on its way through an executor.
class Subscription {
 public:
  Subscription() = default;
  Subscription(Subscription&& other) noexcept = default;
  Subscription& operator=(Subscription&& other) noexcept {
    Subscription ended(std::move(*this));
    link_ = std::move(other.link_);
    return *this;
  }
  Subscription(const Subscription&) = delete;
  Subscription& operator=(const Subscription&) = delete;
  ~Subscription() { cancel(); }

  void cancel() {
    if (auto link = std::exchange(link_, nullptr)) link->end();
  }

  /// Keeps the subscription for as long as the list.
  void storeIn(Cancellables& cancellables) && { cancellables.push_back(std::move(*this)); }

 private:
  template <typename Value>
  friend class Publisher;
  friend class ChangeAnnouncer;

  /// What the handle and the receiver at the end of its chain share.
  struct Link {
    bool active = true;
    std::shared_ptr<void> attachment;

    void end() {
      active = false;
      // Ending it may destroy what the receiver captured, which may destroy this link's owner.
      const auto released = std::exchange(attachment, nullptr);
    }
  };

  explicit Subscription(std::shared_ptr<Link> link) : link_(std::move(link)) {}

  std::shared_ptr<Link> link_;
};

namespace detail {

/// A value and its receivers, in subscription order.
///
/// One delivery is under way at a time: a receiver that assigns first has the delivery that it is
/// part of completed for those behind it, then its own made to all. So every receiver sees every
/// value, in the same order, and the last one that it sees is the current one.
template <typename Value>
class Channel : public std::enable_shared_from_this<Channel<Value>> {
 public:
  using Receiver = std::function<void(const Value&)>;

  explicit Channel(Value value) : value_(std::make_shared<Value>(std::move(value))) {}

  const Value& value() const { return *value_; }

  void assign(Value value) {
    const auto keptAlive = this->shared_from_this();
    deliverToRemaining();
    replace(std::move(value));
    next_ = 0;
    end_ = receivers_.size();
    deliverToRemaining();
  }

  /// The result detaches the receiver when it is released.
  std::shared_ptr<void> attach(Receiver receiver) {
    const auto shared = std::make_shared<Receiver>(std::move(receiver));
    receivers_.push_back(shared);
    return std::shared_ptr<void>(shared.get(), [channel = this->weak_from_this()](void* detached) {
      if (const auto alive = channel.lock()) alive->detach(detached);
    });
  }

  /// Hands the current value to a receiver that has just been attached.
  void deliverCurrent(const std::shared_ptr<void>& attachment) {
    for (const auto& receiver : receivers_) {
      if (receiver.get() != attachment.get()) continue;
      const auto [running, value] = std::pair(receiver, value_);
      (*running)(*value);
      return;
    }
  }

 private:
  /// Counts the deliveries on the stack: while there is one, places in the list stay as they are.
  struct Delivering {
    explicit Delivering(Channel& channel) : channel_(channel) { ++channel_.depth_; }
    ~Delivering() {
      if (--channel_.depth_ > 0) return;
      channel_.next_ = channel_.end_ = 0;
      std::erase(channel_.receivers_, nullptr);
    }
    Channel& channel_;
  };

  void deliverToRemaining() {
    if (next_ == end_) return;
    const Delivering delivering(*this);
    // Held here, because the receiver may replace the value that it is being given.
    const auto value = value_;
    while (next_ < end_) {
      // Held here, because the receiver may end its own subscription.
      if (const auto receiver = receivers_[next_++]) (*receiver)(*value);
    }
  }

  void replace(Value value) {
    if (value_.use_count() == 1) {
      *value_ = std::move(value);
    } else {
      value_ = std::make_shared<Value>(std::move(value));
    }
  }

  void detach(const void* detached) {
    for (std::size_t index = 0; index < receivers_.size(); ++index) {
      if (receivers_[index].get() != detached) continue;
      const auto released = std::exchange(receivers_[index], nullptr);
      if (depth_ == 0) receivers_.erase(receivers_.begin() + static_cast<std::ptrdiff_t>(index));
      return;
    }
  }

  std::shared_ptr<Value> value_;
  std::vector<std::shared_ptr<Receiver>> receivers_;
  std::size_t next_ = 0;
  std::size_t end_ = 0;
  int depth_ = 0;
};

}  // namespace detail

/// A source of values to subscribe to, with the operators to shape what arrives. An operator makes
/// a new publisher; the operators of a chain run in the order in which they are written, inside the
/// assignment, and each subscription has state of its own. One thread only.
template <typename Value>
class Publisher {
 public:
  using Receiver = std::function<void(const Value&)>;
  /// Runs the tasks that it is given later, in order, on the thread that uses the publisher.
  using Executor = std::function<void(std::function<void()>)>;
  /// Connects a receiver to the source; the connection ends when the result is released.
  using Attach = std::function<std::shared_ptr<void>(Receiver)>;

  explicit Publisher(Attach attach) : attach_(std::move(attach)) {}

  /// Passes over the first `count` values; the one delivered at subscription is the first.
  Publisher dropFirst(std::size_t count = 1) const {
    return Publisher([attach = attach_, count](Receiver next) {
      return attach([left = count, next = std::move(next)](const Value& value) mutable {
        if (left == 0) return next(value);
        --left;
      });
    });
  }

  /// Drops a value that equals the one received just before it.
  Publisher removeDuplicates() const { return removeDuplicates(std::equal_to<Value>()); }

  /// Drops a value for which `isDuplicate(previous, value)`, previous being the one received just
  /// before it.
  template <typename Predicate>
  Publisher removeDuplicates(Predicate isDuplicate) const {
    return Publisher([attach = attach_, isDuplicate](Receiver next) {
      return attach([previous = std::optional<Value>(), isDuplicate,
                     next = std::move(next)](const Value& value) mutable {
        const bool dropped = previous && std::invoke(isDuplicate, *previous, value);
        previous = value;
        if (!dropped) next(value);
      });
    });
  }

  /// Delivers `transform(value)`; a pointer to a field or a getter will do.
  template <typename Transform>
  auto map(Transform transform) const {
    using Result = std::decay_t<std::invoke_result_t<Transform&, const Value&>>;
    return Publisher<Result>(
        [attach = attach_, transform](typename Publisher<Result>::Receiver next) {
          return attach([transform, next = std::move(next)](const Value& value) mutable {
            next(std::invoke(transform, value));
          });
        });
  }

  /// Passes on the values for which `isIncluded(value)`.
  template <typename Predicate>
  Publisher filter(Predicate isIncluded) const {
    return Publisher([attach = attach_, isIncluded](Receiver next) {
      return attach([isIncluded, next = std::move(next)](const Value& value) mutable {
        if (std::invoke(isIncluded, value)) next(value);
      });
    });
  }

  /// Delivers each value later, in a task that it hands to the executor.
  Publisher receiveOn(Executor executor) const {
    return Publisher([attach = attach_, executor = std::move(executor)](Receiver next) {
      const auto shared = std::make_shared<Receiver>(std::move(next));
      return attach([executor, shared](const Value& value) {
        executor([waiting = std::weak_ptr<Receiver>(shared), value] {
          if (const auto receiver = waiting.lock()) (*receiver)(value);
        });
      });
    });
  }

  /// Subscribes: `receive(value)` is called with the current value now, unless an operator holds it
  /// back, and with every later one for as long as the result lives.
  template <typename Receive>
  [[nodiscard]] Subscription sink(Receive receive) const {
    auto link = std::make_shared<Subscription::Link>();
    link->attachment = attach_(
        [weak = std::weak_ptr(link), receive = std::move(receive)](const Value& value) mutable {
          const auto alive = weak.lock();
          if (alive && alive->active) std::invoke(receive, value);
        });
    return Subscription(std::move(link));
  }

 private:
  Attach attach_;
};

/// A value that tells its subscribers of every assignment.
///
/// An assignment calls them synchronously, in subscription order, with the new value, also when it
/// is unchanged. A new subscriber receives the current value at the moment of subscription.
/// Subscribers may assign, subscribe, end any subscription and destroy the published value from
/// inside a delivery; an assignment from there has been delivered to everyone when it returns,
/// after the one that it interrupts. One thread only, the main thread in the program.
template <typename Value>
class Published {
 public:
  Published()
    requires std::is_default_constructible_v<Value>
      : Published(Value()) {}
  explicit Published(Value value)
      : channel_(std::make_shared<detail::Channel<Value>>(std::move(value))) {}
  Published(const Published&) = delete;
  Published& operator=(const Published&) = delete;

  /// Valid until the next assignment.
  const Value& value() const { return channel_->value(); }

  void assign(Value value) { channel_->assign(std::move(value)); }

  /// May be kept; once the published value is gone it delivers nothing.
  Publisher<Value> publisher() const {
    return Publisher<Value>(
        [weak = std::weak_ptr(channel_)](typename Publisher<Value>::Receiver receiver) {
          const auto channel = weak.lock();
          if (!channel) return std::shared_ptr<void>();
          auto attachment = channel->attach(std::move(receiver));
          channel->deliverCurrent(attachment);
          return attachment;
        });
  }

 private:
  std::shared_ptr<detail::Channel<Value>> channel_;
};

/// Tells its subscribers that something has changed, without saying what. Dispatch follows the
/// rules of Published, but nothing is delivered at subscription. One thread only.
class ChangeAnnouncer {
 public:
  ChangeAnnouncer() = default;
  ChangeAnnouncer(const ChangeAnnouncer&) = delete;
  ChangeAnnouncer& operator=(const ChangeAnnouncer&) = delete;

  void announce() { channel_->assign({}); }

  [[nodiscard]] Subscription subscribe(std::function<void()> receive) {
    auto link = std::make_shared<Subscription::Link>();
    link->attachment =
        channel_->attach([receive = std::move(receive)](const std::monostate&) { receive(); });
    return Subscription(std::move(link));
  }

 private:
  std::shared_ptr<detail::Channel<std::monostate>> channel_ =
      std::make_shared<detail::Channel<std::monostate>>(std::monostate());
};

}  // namespace stowboard
