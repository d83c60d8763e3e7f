// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include "options.h"
#include "report.h"

/// The promises of ovlog.h, as far as the process that logs can see them.
void checkLog(int argc, char** argv, Report& report);
/// The promises of wsevent.h.
void checkFilters(Report& report);
/// Ids, refusals and ends of subscriptions, without any event.
void checkSubscriptions(const Options& options, Report& report);
/// What delivery promises: thread, order, pace, ownership, topics.
void checkDelivery(const Options& options, Report& report);
/// What no longer happens after a subscription or the consumer has ended.
void checkEnds(const Options& options, Report& report);
