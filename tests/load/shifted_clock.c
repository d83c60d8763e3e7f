/* SPDX-FileCopyrightText: 2026 the lumenfeed developers
 * SPDX-License-Identifier: MIT
 *
 * Preloaded into a program, shifts the time of day that it sees by the seconds in the file that
 * $LUMENFEED_SHIFTED_CLOCK names, at any moment. Other clocks go on as they are.
 */
#define _GNU_SOURCE
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

static int64_t none;
static int64_t* shift = &none;

__attribute__((constructor)) static void map_shift(void) {
  const char* path = getenv("LUMENFEED_SHIFTED_CLOCK");
  const int file = path != NULL ? open(path, O_RDONLY | O_CLOEXEC) : -1;
  void* map = file < 0 ? MAP_FAILED : mmap(NULL, sizeof *shift, PROT_READ, MAP_SHARED, file, 0);
  if (map == MAP_FAILED) {
    perror("LUMENFEED_SHIFTED_CLOCK");
    abort();
  }
  close(file);
  shift = map;
}

int clock_gettime(clockid_t clock, struct timespec* now) {
  const int result = (int)syscall(SYS_clock_gettime, clock, now);
  if (result == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE)) {
    now->tv_sec += __atomic_load_n(shift, __ATOMIC_RELAXED);
  }
  return result;
}

int gettimeofday(struct timeval* restrict now, void* restrict zone) {
  struct timespec exact;
  (void)zone;
  if (clock_gettime(CLOCK_REALTIME, &exact) != 0) return -1;
  now->tv_sec = exact.tv_sec;
  now->tv_usec = exact.tv_nsec / 1000;
  return 0;
}

time_t time(time_t* also) {
  struct timespec exact;
  if (clock_gettime(CLOCK_REALTIME, &exact) != 0) return (time_t)-1;
  if (also != NULL) *also = exact.tv_sec;
  return exact.tv_sec;
}
