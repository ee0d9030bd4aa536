/* A preloaded library: the calendar's clock goes wrong by as many seconds as the file $ORVANE_TEST_CLOCK says, from the moment it says so.
   The clock that only counts on stays as it is. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/time.h>
#include <time.h>

static long shift(void) {
    const char* path = getenv("ORVANE_TEST_CLOCK");
    FILE* file = path ? fopen(path, "re") : NULL;
    long seconds = 0;
    if (!file) return 0;
    if (fscanf(file, "%ld", &seconds) != 1) seconds = 0;
    fclose(file);
    return seconds;
}

int clock_gettime(clockid_t clock, struct timespec* now) {
    int (*real)(clockid_t, struct timespec*) = dlsym(RTLD_NEXT, "clock_gettime");
    int result = real(clock, now);
    if (result == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE)) now->tv_sec += shift();
    return result;
}

int gettimeofday(struct timeval* restrict now, void* restrict zone) {
    int (*real)(struct timeval*, void*) = dlsym(RTLD_NEXT, "gettimeofday");
    int result = real(now, zone);
    if (result == 0) now->tv_sec += shift();
    return result;
}

time_t time(time_t* result) {
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    if (result) *result = now.tv_sec;
    return now.tv_sec;
}
