// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>

namespace unit {

/// C++ objects on the heap now. Compared before and after, tells whether a record is left over.
std::size_t heapObjects();

}  // namespace unit
