/* SPDX-FileCopyrightText: 2026 the lumenfeed developers
 * SPDX-License-Identifier: MIT
 *
 * ovlog.h: the contract of the platform's logging library, libovlog.so.1.
 *
 * Who implements it: the maker of the device. platform/host/ holds an implementation for an
 * ordinary Linux machine, tests/doubles/ one for tests.
 */
#ifndef OVLOG_H
#define OVLOG_H

#ifdef __cplusplus
extern "C" {
#endif

/**
 * ov_log_syslog:
 * @argc: the argument count of main(), unchanged
 * @argv: the argument vector of main(), unchanged; argv[0] may name the program in the log
 *
 * Directs every log line that the process writes through GLib to the system log, from now on
 * and for all log domains: the service's own lines have none, GLib and GIO use theirs.
 *
 * The service calls it once, as the first thing in main(), before any line is logged and
 * before there is a second thread. It must not fail: with no system log to be had, lines are
 * to go where they can still be seen. @argv stays valid until main() returns.
 *
 * The levels that the service uses, and what they stand for:
 *
 *   64   G_LOG_LEVEL_INFO                 progress and expected conditions (LOG_INFO)
 *   16   G_LOG_LEVEL_WARNING              failed calls, unknown sessions   (LOG_WARNING)
 *   256  1 << G_LOG_LEVEL_USER_SHIFT      errors that do not end it        (LOG_ERR)
 *
 * Lines of GLib and GIO come at any of GLib's levels.
 */
void ov_log_syslog(int argc, char **argv);

#ifdef __cplusplus
}
#endif

#endif /* OVLOG_H */
