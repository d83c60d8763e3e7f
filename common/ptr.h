// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <gio/gio.h>

#include <cstdlib>
#include <memory>

namespace common {

/// Calls a C release function; stateless, so the pointer stays one word.
template <auto release>
struct Deleter {
  template <typename T>
  void operator()(T* object) const {
    release(object);
  }
};

/// Owns a C object and releases it with `release`; never called for null.
template <typename T, auto release>
using Ptr = std::unique_ptr<T, Deleter<release>>;

using GErrorPtr = Ptr<GError, g_error_free>;
using GCharPtr = Ptr<char, g_free>;
/// Text from malloc, as C libraries other than GLib return it.
using MallocCharPtr = Ptr<char, std::free>;
using GStrvPtr = Ptr<char*, g_strfreev>;
template <typename T>
using GObjectPtr = Ptr<T, g_object_unref>;

/// Hands an out-parameter of type GError** to a C call and takes ownership of what it stores.
class GErrorOut {
 public:
  explicit GErrorOut(GErrorPtr& target) : target_(target) {}
  ~GErrorOut() { target_.reset(error_); }
  GErrorOut(const GErrorOut&) = delete;
  GErrorOut& operator=(const GErrorOut&) = delete;
  operator GError**() { return &error_; }

 private:
  GErrorPtr& target_;
  GError* error_ = nullptr;
};

}  // namespace common
