// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QString>
#include <cstdint>
#include <list>
#include <memory>
#include <string_view>
#include <utility>

#include "QuilletKit/Async/Task.h"
#include "QuilletKit/Base/Observable.h"

namespace quillet {

/// A text of the program in the user's words. Texts from elsewhere, such as names, must not be given.
QString inWords(std::string_view text);
/// In the form that the language has for so many. A "%1" in the text is still to be filled in.
QString inWords(std::string_view text, std::int64_t count);
QString toQt(std::string_view utf8);

/// What the views' objects share: one signal for all properties, subscriptions that end with the object, and work in
/// the background that ends with it, too. Main thread only.
class ViewObject : public QObject {
  Q_OBJECT

 public:
  explicit ViewObject(Executor mainThread) : mainThread_(std::move(mainThread)) {}

 Q_SIGNALS:
  void changed();

 protected:
  template <typename T>
  void follow(const Observable<T>& value) {
    keep(value.observe([this](const T&) { Q_EMIT changed(); }));
  }
  template <typename Subscription>
  void keep(Subscription subscription) {
    kept_.push_back(std::make_unique<Kept<Subscription>>(std::move(subscription)));
  }
  /// `body` gets a Task::Token and gives an Awaitable<void>; it must not touch the object once the token is cancelled.
  template <typename Body>
  void background(Body body) {
    tasks_.remove_if([](const Task& task) { return !task.running(); });
    tasks_.emplace_back(mainThread_).start(std::move(body));
  }

 private:
  struct Anything {
    virtual ~Anything() = default;
  };
  template <typename T>
  struct Kept final : Anything {
    explicit Kept(T given) : value(std::move(given)) {}
    T value;
  };

  Executor mainThread_;
  std::list<std::unique_ptr<Anything>> kept_;
  std::list<Task> tasks_;
};

}  // namespace quillet
