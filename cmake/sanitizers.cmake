# SPDX-FileCopyrightText: 2026 the lumenfeed developers
# SPDX-License-Identifier: MIT

# The value of -fsanitize= for the whole build: our code, the generated code and the tests.
set(LUMENFEED_SANITIZE "" CACHE STRING "Sanitizers to build with, for instance address,undefined")

if(LUMENFEED_SANITIZE)
  add_compile_options(-fsanitize=${LUMENFEED_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${LUMENFEED_SANITIZE})
  if(LUMENFEED_SANITIZE MATCHES undefined)
    add_compile_options(-fno-sanitize-recover=undefined)
  endif()
endif()

# What the fuzzers steer by, in everything that they link.
if(LUMENFEED_BUILD_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
  add_link_options(-fsanitize=fuzzer-no-link)
endif()
