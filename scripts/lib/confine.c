/* SPDX-FileCopyrightText: 2026 the lumenfeed developers
 * SPDX-License-Identifier: MIT
 *
 * confine FILE PROGRAM: runs a program with no system calls but those that FILE names, one a
 * line; others fail with EPERM, as under the unit's filter. Names that are not of this machine
 * are left out.
 */
#include <errno.h>
#include <seccomp.h>
#include <stdio.h>
#include <string.h>
#include <sys/prctl.h>
#include <unistd.h>

static int allow_all(scmp_filter_ctx filter, FILE* names) {
  char name[64];
  while (fgets(name, sizeof name, names) != NULL) {
    name[strcspn(name, "\n")] = '\0';
    const int number = seccomp_syscall_resolve_name(name);
    /* Negative numbers stand for calls of other architectures. */
    if (number >= 0 && seccomp_rule_add(filter, SCMP_ACT_ALLOW, number, 0) != 0) return 0;
  }
  return !ferror(names);
}

int main(int argc, char** argv) {
  FILE* names = argc > 2 ? fopen(argv[1], "r") : NULL;
  scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ERRNO(EPERM));
  if (names == NULL || filter == NULL || !allow_all(filter, names) ||
      prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || seccomp_load(filter) != 0) {
    fprintf(stderr, "confine: no filter from %s: %s\n", argc > 1 ? argv[1] : "(no file)",
            strerror(errno));
    return 125;
  }
  execv(argv[2], argv + 2);
  fprintf(stderr, "confine: %s: %s\n", argv[2], strerror(errno));
  return 126;
}
