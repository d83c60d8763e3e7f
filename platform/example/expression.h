/* SPDX-FileCopyrightText: 2026 the lumenfeed developers
 * SPDX-License-Identifier: MIT
 *
 * What libwsevent of the example makes and libevent2 matches. */
#ifndef EXAMPLE_EXPRESSION_H
#define EXAMPLE_EXPRESSION_H

#include <event2.h>

struct SubscribeExpression {
  /* Alternatives; "//." at the end stands for all below as well. None: every topic. */
  char** topics;
  /* Items that must all be in the message, as it spells them: "Name":"Value". */
  char** items;
};

#endif
