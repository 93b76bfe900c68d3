// kqueue(2) as far as this project uses it. The numbers only have to differ: nothing is compiled with them.
#pragma once

#include <stdint.h>
#include <time.h>

struct kevent {
    uintptr_t ident;
    int16_t filter;
    uint16_t flags;
    uint32_t fflags;
    intptr_t data;
    void* udata;
};

#define EV_SET(event, id, filterOf, flagsOf, notes, dataOf, userData)                                                  \
    (*(event) = {(id), (filterOf), (flagsOf), (notes), (dataOf), (userData)})

#define EV_ADD 0x1
#define EV_CLEAR 0x2
#define EVFILT_PROC (-1)
#define EVFILT_USER (-2)
#define NOTE_EXIT 0x1u
#define NOTE_TRIGGER 0x2u

extern "C" int kqueue(void);
extern "C" int kevent(int queue, const struct kevent* changes, int changeCount, struct kevent* events, int eventCount,
                      const struct timespec* limit);
