// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <random>

namespace support {

/// A build with a sanitizer is slow, keeps what was freed, and has descriptors of its own.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

/// The number above 0 in an environment variable, or another if it is not set.
/// Throws std::runtime_error if it is set to something else.
double setting(const char* variable, double otherwise);

/// How much of a load a test makes: `usual` times $LUMENFEED_LOAD_FACTOR, which is 1 if not set, or
/// 0.1 in a sanitized build.
std::size_t scaled(std::size_t usual);

/// Random numbers from $LUMENFEED_SEED, else from a fixed seed, so that a run can be had again.
std::mt19937 randomNumbers();

/// A number below `limit`.
std::size_t below(std::mt19937& random, std::size_t limit);

}  // namespace support
