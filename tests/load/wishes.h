// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace load {

// 32 sessions with 8 filters each, of which each matches about one event in ten: eight topics of
// eighty, others for each session, and of the first of them only events whose number ends with a
// certain digit.

constexpr std::size_t kSessions = 32;
constexpr const char* kSessionPrefix = "session";

std::string sessionName(std::size_t session);
/// The topic of event `number`.
std::string topicOf(std::size_t number);
/// For LoadTest::open().
std::vector<std::string> filtersOf(std::size_t session);
/// True if a filter of the session matches event `number`.
bool wants(std::size_t session, std::size_t number);

}  // namespace load
