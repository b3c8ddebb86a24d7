// The wall clock of a program that is started with this library preloaded, moved from outside: it
// runs faster than the machine's own and jumps. Timers, which run on the monotonic clock, keep their
// pace. SOAK_CLOCK names a file that clock.py writes; it is mapped once. Children are started
// without the library. Any thread.

#define _GNU_SOURCE
#include <fcntl.h>
#include <stdint.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#define MOVES 1024

struct Move {
    int64_t atMonotonic; // nanoseconds on CLOCK_MONOTONIC
    int64_t wall;        // the wall clock at that moment, nanoseconds since the epoch
    int64_t rate;        // its speed from then on
};

// A move is written before the number that makes it the valid one.
struct Clock {
    volatile int64_t newest;
    struct Move moves[MOVES];
};

static const int64_t second = 1000000000;
static const struct Clock *moved = NULL;

__attribute__((constructor)) static void attach(void)
{
    const char *path = getenv("SOAK_CLOCK");
    const int file = path ? open(path, O_RDONLY | O_CLOEXEC) : -1;
    if (file >= 0) {
        void *memory = mmap(NULL, sizeof(struct Clock), PROT_READ, MAP_SHARED, file, 0);
        moved = memory == MAP_FAILED ? NULL : memory;
        close(file);
    }
    unsetenv("LD_PRELOAD");
}

static int realClock(clockid_t clock, struct timespec *time)
{
    return (int)syscall(SYS_clock_gettime, clock, time);
}

int clock_gettime(clockid_t clock, struct timespec *time)
{
    if (!moved || (clock != CLOCK_REALTIME && clock != CLOCK_REALTIME_COARSE)) {
        return realClock(clock, time);
    }
    struct timespec now;
    realClock(CLOCK_MONOTONIC, &now);
    const struct Move *move = &moved->moves[moved->newest % MOVES];
    const int64_t since = now.tv_sec * second + now.tv_nsec - move->atMonotonic;
    const int64_t wall = move->wall + since * move->rate;
    time->tv_sec = wall / second;
    time->tv_nsec = wall % second;
    return 0;
}

int gettimeofday(struct timeval *time, void *zone)
{
    (void)zone;
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    time->tv_sec = now.tv_sec;
    time->tv_usec = now.tv_nsec / 1000;
    return 0;
}

time_t time(time_t *out)
{
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    if (out) {
        *out = now.tv_sec;
    }
    return now.tv_sec;
}
