# SPDX-FileCopyrightText: 2026 the lumenfeed developers
# SPDX-License-Identifier: MIT

# Linked by every target of ours; generated code does without it.
add_library(lumenfeed_warnings INTERFACE)
target_compile_options(lumenfeed_warnings INTERFACE
  -Werror -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wcast-align
  -Wformat=2 -Wundef -Wnull-dereference -Wdouble-promotion
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual -Wextra-semi -Wcast-qual>
  $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wduplicated-cond -Wlogical-op>)
