# SPDX-FileCopyrightText: 2026 the lumenfeed developers
# SPDX-License-Identifier: MIT
"""What is measured: every row of the table, in full and in quick runs."""

from measure import Variant

SESSIONS = 32
#: Messages on the way that stand for a service with a well-paced event system.
WINDOW = 64
#: The steady load through the broker, in events a second for one session.
STEADY = 2000


def in_process(scale):
    """The floor and the service on an event system in its own process."""
    return [
        Variant("floor, 1 in flight", "floor", 8000 // scale, window=1),
        Variant("floor, 64 in flight", "floor", 30000 // scale, window=WINDOW),
        Variant("floor, no cap", "floor", 10000 // scale),
        Variant("floor, 1 in flight, 2 KB", "floor", 8000 // scale, size=2000, window=1),
        Variant("floor, 64 in flight, 2 KB", "floor", 20000 // scale, size=2000, window=WINDOW),
        Variant("floor, no cap, 2 KB", "floor", 10000 // scale, size=2000),
        Variant("floor, 1,000 a second", "floor", 4000 // scale, rate=1000),
        Variant("in-process, paced", "in-process", 30000 // scale, window=WINDOW),
        Variant("in-process, paced, 2 KB", "in-process", 20000 // scale, size=2000, window=WINDOW),
        Variant("in-process, paced, 32 sessions", "in-process", 960 // scale, sessions=SESSIONS,
                window=WINDOW),
        Variant("in-process, 1,000 a second", "in-process", 4000 // scale, rate=1000),
        Variant("in-process, flat out", "in-process", 10000 // scale),
        Variant("in-process, flat out, 32 sessions", "in-process", 320 // scale,
                sessions=SESSIONS),
    ]


def mqtt(scale):
    """The service on the host platform, fed through a broker."""
    return [
        Variant("broker, paced", "mqtt", 3 * STEADY // scale, rate=STEADY),
        Variant("broker, paced, 32 sessions", "mqtt", 300 // scale, sessions=SESSIONS, rate=100),
        Variant("broker, flat out", "mqtt", 50000 // scale),
        Variant("broker, flat out, 2 KB", "mqtt", 20000 // scale, size=2000),
        Variant("broker, flat out, 32 sessions", "mqtt", 1563 // scale, sessions=SESSIONS),
    ]
