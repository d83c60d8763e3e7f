/* SPDX-FileCopyrightText: 2026 the lumenfeed developers
 * SPDX-License-Identifier: MIT
 */
#ifndef EXAMPLE_EVENT_H
#define EXAMPLE_EVENT_H

#include <event2.h>

Event* event_new(const char* topic, const char* json);

#endif
