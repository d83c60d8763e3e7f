// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/doubles/recording_platform.h"

// NOLINTBEGIN(bugprone-reserved-identifier): the linker makes the names.
#pragma GCC visibility push(default)
extern "C" {

void __real_free(void* memory);
/// The linker hands every free() of a test program to this one.
void __wrap_free(void* memory) {
  doubles::RecordingPlatform::instance().jsonTextFreed(memory);
  __real_free(memory);
}

}  // extern "C"
#pragma GCC visibility pop
// NOLINTEND(bugprone-reserved-identifier)
