// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <utility>

#include "QuilletKit/Base/Observable.h"

namespace quillet {

/// A lasting value that views watch. Every write goes to its key at once, also one of an equal value. Main thread only.
template <typename T>
class Preference {
 public:
  Preference(T value, std::function<void(const T&)> keep) : value_(std::move(value)), keep_(std::move(keep)) {}

  const T& get() const { return value_.get(); }
  void set(T value) {
    keep_(value);
    value_.set(std::move(value));
  }
  const Observable<T>& observable() const { return value_; }

 private:
  Observable<T> value_;
  std::function<void(const T&)> keep_;
};

}  // namespace quillet
