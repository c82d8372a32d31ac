/* Event objects: the signalling primitive the suite's threads use to wake each other.
 *
 * An event is set or not set; threads wait on it.  A manual-reset event, once set, releases every
 * waiter and stays set until event_reset.  An auto-reset event releases one waiter: signalled
 * while a thread waits, it wakes that thread and stays unset; signalled while nobody waits, it
 * stays set until one wait consumes it.  A signal or pulse can carry a 32-bit information value
 * to the woken thread.
 *
 * The caller owns the SKrEvent record (static, automatic or heap storage) and passes its address
 * to every function.  Each event is one POSIX mutex and one condition variable.
 *
 * Results: 0 on success, -1 on failure.  A null event gives -1 (errno EINVAL) from every
 * function.  When a mutex or condition call fails, errno is set to the error it returned
 * (ETIMEDOUT for an expired event_timedwait) and that value is what the caller sees after the
 * function has released the mutex.
 *
 * Deliberate properties callers rely on:
 *  - A wait blocks at most once on the condition and returns 0 after any wake-up, without
 *    re-checking the state: a signal to a waiting auto-reset event does not set the state, so a
 *    re-check would sleep again.  The price is that a spurious wake-up ends a wait early, and
 *    that two signals arriving before the woken thread runs release only that one thread.
 *  - The manual-reset flag is read in two ways: signal and pulse treat any value other than 1 as
 *    auto-reset, while the waits consume the state only when the flag is 0.  Pass 0 or 1.
 *  - Waiters read the information without clearing its valid flag.
 *
 * Any number of threads may signal, pulse, reset and wait on one event at once.  Initialisation
 * and destruction are not synchronised: no other thread may use the event meanwhile. */
#ifndef ORVIK_EVENTS_KREVENT_H
#define ORVIK_EVENTS_KREVENT_H

#include <pthread.h>
#include <wchar.h>

#include "platform/KrTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The value waiters receive when no information was handed over (INT32_MIN). */
#define KR_EVENT_NO_INFORMATION ((kr_int32)(-2147483647 - 1))

/* The event record.  Fields are public for inspection under m_mutex; change them only through
 * the functions below. */
typedef struct SKrEvent {
    pthread_mutex_t m_mutex;     /* guards every other field */
    pthread_cond_t m_condition;  /* waiters sleep on it */
    kr_int32 m_manualReset;      /* 1 manual-reset, 0 auto-reset */
    kr_int32 m_state;            /* 1 while the event is set */
    kr_int32 m_waiters;          /* threads blocked in a wait right now */
    kr_int32 m_information;      /* last handed-over value; KR_EVENT_NO_INFORMATION initially */
    kr_int32 m_informationValid; /* 1 when m_information is meant for the next waiter */
} SKrEvent;

/* Initialises an event: manual-reset flag and initial state stored, no waiters, information
 * KR_EVENT_NO_INFORMATION and not valid.  `reserved` and `name` are accepted for callers that
 * name their events and are ignored; the two forms behave identically.  `attributes` is handed
 * to both pthread_mutex_init and pthread_cond_init and should be null (a non-null pointer must
 * be valid as both attribute kinds).  -1 for a null event or a failed initialisation. */
ORVIK_API int event_initA(SKrEvent *event, int manualReset, int initialState, int reserved,
                          const char *name, const void *attributes);
ORVIK_API int event_initW(SKrEvent *event, int manualReset, int initialState, int reserved,
                          const wchar_t *name, const void *attributes);

/* Destroys the mutex and the condition; -1 if either fails (e.g. EBUSY while a thread waits). */
ORVIK_API int event_destroy(SKrEvent *event);

/* Sets the event.  Manual reset: the state becomes 1 and every waiter wakes.  Auto reset: with
 * no waiter the state becomes 1; with waiters one is woken and the state stays 0.  The
 * information is marked not valid. */
ORVIK_API int event_signal(SKrEvent *event);
/* As event_signal, handing `information` to the woken (or next) waiter. */
ORVIK_API int event_signal_info(SKrEvent *event, kr_int32 information);

/* Wakes every waiter (manual reset) or one (auto reset) and leaves the event not set; with no
 * waiter a pulse has no effect.  The information is marked not valid. */
ORVIK_API int event_pulse(SKrEvent *event);
/* As event_pulse, handing `information` to the woken waiters. */
ORVIK_API int event_pulse_info(SKrEvent *event, kr_int32 information);

/* Clears the state and the information-valid flag. */
ORVIK_API int event_reset(SKrEvent *event);

/* Returns at once when the event is set (consuming the state when the flag is 0); otherwise
 * blocks once on the condition (see above).  -1 if the condition wait fails. */
ORVIK_API int event_wait(SKrEvent *event);
/* As event_wait; then `information` (when not null) receives the handed-over value if it is
 * valid, else KR_EVENT_NO_INFORMATION (also when the wait failed). */
ORVIK_API int event_wait_info(SKrEvent *event, kr_int32 *information);

/* As event_wait with a time limit in milliseconds.  The deadline is taken from the time of day
 * (CLOCK_REALTIME) at millisecond resolution:
 *     seconds     = now.seconds + trunc(ms / 1000)
 *     nanoseconds = (long)(frac(ms / 1000) * 1e9 + now.milliseconds * 1e6 + 0.5)
 * without carrying nanoseconds of one second or more into the seconds.  Such a deadline (and a
 * negative one) is rejected by the condition wait, and the call returns -1 with errno EINVAL at
 * once; whole-second timeouts are always accepted.  -1 with errno ETIMEDOUT when the time limit
 * passes.  A NaN timeout gives -1 with EINVAL; a timeout beyond 1e15 ms (positive infinity
 * included) waits without a limit, one below -1e15 ms gives -1 with EINVAL. */
ORVIK_API int event_timedwait(SKrEvent *event, double milliseconds);

#ifdef __cplusplus
}
#endif

#endif
