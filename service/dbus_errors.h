// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <gio/gio.h>

#include <cstddef>
#include <string>

namespace dbus_errors {

/// Maps each D-Bus error name to `domain` and its index. A name that is registered already stays
/// as it is, silently.
void registerNames(GQuark domain, const char* const* names, std::size_t count);

/// Answers the call with the error `name`, which must be registered, and exactly `message`.
/// Consumes the invocation.
void answer(GDBusMethodInvocation* invocation, const char* name, const std::string& message);

}  // namespace dbus_errors
