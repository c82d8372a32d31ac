// Event objects on one POSIX mutex and one condition variable each.
#include "events/KrEvent.h"

#include <errno.h>
#include <sys/time.h>

#include <cmath>

namespace {

// Holds the event's mutex for the rest of a function.  The pthread calls report errors as
// return values; they are published through errno, and errno is written again after the
// unlock so that the caller sees the error of the failing call.
class Locked {
public:
    explicit Locked(SKrEvent *event) : event_(event) {
        const int rc = pthread_mutex_lock(&event->m_mutex);
        if (rc != 0) {
            errno = rc;
            event_ = nullptr;
        }
    }
    ~Locked() {
        if (event_ != nullptr) {
            const int saved = errno;
            pthread_mutex_unlock(&event_->m_mutex);
            errno = saved;
        }
    }
    Locked(const Locked &) = delete;
    Locked &operator=(const Locked &) = delete;

    bool ok() const { return event_ != nullptr; }

private:
    SKrEvent *event_;
};

int invalidEvent() {
    errno = EINVAL;
    return -1;
}

// Publishes the result of a pthread call through errno: 0 for success, -1 otherwise.
int result(int rc) {
    if (rc == 0) return 0;
    errno = rc;
    return -1;
}

int init(SKrEvent *event, int manualReset, int initialState, const void *attributes) {
    if (event == nullptr) return invalidEvent();
    event->m_manualReset = manualReset;
    event->m_state = initialState;
    event->m_waiters = 0;
    event->m_information = KR_EVENT_NO_INFORMATION;
    event->m_informationValid = 0;
    int rc =
        pthread_cond_init(&event->m_condition, static_cast<const pthread_condattr_t *>(attributes));
    if (rc != 0) return result(rc);
    rc = pthread_mutex_init(&event->m_mutex, static_cast<const pthread_mutexattr_t *>(attributes));
    if (rc != 0) {
        pthread_cond_destroy(&event->m_condition);
        return result(rc);
    }
    return 0;
}

// Shared by the signal functions; the caller holds the mutex.  Only the value 1 means manual
// reset here (the waits read the flag differently, see the header).
void signalLocked(SKrEvent *event, bool withInformation, kr_int32 information) {
    if (event->m_manualReset == 1) {
        event->m_state = 1;
        pthread_cond_broadcast(&event->m_condition);
    } else if (event->m_waiters == 0) {
        event->m_state = 1;
    } else {
        // The woken waiter returns without touching the state, which therefore stays 0.
        pthread_cond_signal(&event->m_condition);
    }
    event->m_information = withInformation ? information : event->m_information;
    event->m_informationValid = withInformation ? 1 : 0;
}

void pulseLocked(SKrEvent *event, bool withInformation, kr_int32 information) {
    if (event->m_manualReset == 1)
        pthread_cond_broadcast(&event->m_condition);
    else
        pthread_cond_signal(&event->m_condition);
    event->m_state = 0;
    event->m_information = withInformation ? information : event->m_information;
    event->m_informationValid = withInformation ? 1 : 0;
}

// Consumes a set state (auto reset only) and reports whether the event was set.  Caller holds
// the mutex.
bool takeIfSet(SKrEvent *event) {
    if (event->m_state != 1) return false;
    if (event->m_manualReset == 0) event->m_state = 0;
    return true;
}

// One wait on the condition, counted as a waiter; a null deadline waits without limit.
int waitOnceLocked(SKrEvent *event, const timespec *deadline) {
    ++event->m_waiters;
    const int rc = deadline ? pthread_cond_timedwait(&event->m_condition, &event->m_mutex, deadline)
                            : pthread_cond_wait(&event->m_condition, &event->m_mutex);
    --event->m_waiters;
    return result(rc);
}

}  // namespace

extern "C" {

int event_initA(SKrEvent *event, int manualReset, int initialState, int /*reserved*/,
                const char * /*name*/, const void *attributes) {
    return init(event, manualReset, initialState, attributes);
}

int event_initW(SKrEvent *event, int manualReset, int initialState, int /*reserved*/,
                const wchar_t * /*name*/, const void *attributes) {
    return init(event, manualReset, initialState, attributes);
}

int event_destroy(SKrEvent *event) {
    if (event == nullptr) return invalidEvent();
    const int rcMutex = pthread_mutex_destroy(&event->m_mutex);
    const int rcCondition = pthread_cond_destroy(&event->m_condition);
    return result(rcMutex != 0 ? rcMutex : rcCondition);
}

int event_signal(SKrEvent *event) {
    if (event == nullptr) return invalidEvent();
    Locked lock(event);
    if (!lock.ok()) return -1;
    signalLocked(event, false, 0);
    return 0;
}

int event_signal_info(SKrEvent *event, kr_int32 information) {
    if (event == nullptr) return invalidEvent();
    Locked lock(event);
    if (!lock.ok()) return -1;
    signalLocked(event, true, information);
    return 0;
}

int event_pulse(SKrEvent *event) {
    if (event == nullptr) return invalidEvent();
    Locked lock(event);
    if (!lock.ok()) return -1;
    pulseLocked(event, false, 0);
    return 0;
}

int event_pulse_info(SKrEvent *event, kr_int32 information) {
    if (event == nullptr) return invalidEvent();
    Locked lock(event);
    if (!lock.ok()) return -1;
    pulseLocked(event, true, information);
    return 0;
}

int event_reset(SKrEvent *event) {
    if (event == nullptr) return invalidEvent();
    Locked lock(event);
    if (!lock.ok()) return -1;
    event->m_state = 0;
    event->m_informationValid = 0;
    return 0;
}

int event_wait(SKrEvent *event) {
    if (event == nullptr) return invalidEvent();
    Locked lock(event);
    if (!lock.ok()) return -1;
    if (takeIfSet(event)) return 0;
    return waitOnceLocked(event, nullptr);
}

int event_wait_info(SKrEvent *event, kr_int32 *information) {
    if (event == nullptr) {
        if (information != nullptr) *information = KR_EVENT_NO_INFORMATION;
        return invalidEvent();
    }
    Locked lock(event);
    if (!lock.ok()) {
        if (information != nullptr) *information = KR_EVENT_NO_INFORMATION;
        return -1;
    }
    const int rc = takeIfSet(event) ? 0 : waitOnceLocked(event, nullptr);
    if (information != nullptr)
        *information = (rc == 0 && event->m_informationValid == 1) ? event->m_information
                                                                   : KR_EVENT_NO_INFORMATION;
    return rc;
}

int event_timedwait(SKrEvent *event, double milliseconds) {
    if (event == nullptr) return invalidEvent();
    Locked lock(event);
    if (!lock.ok()) return -1;
    if (takeIfSet(event)) return 0;

    if (std::isnan(milliseconds) || milliseconds < -1e15) return invalidEvent();
    if (milliseconds > 1e15) return waitOnceLocked(event, nullptr);

    timeval now;
    gettimeofday(&now, nullptr);
    const long nowMilliseconds = static_cast<long>(now.tv_usec / 1000);
    const double seconds = milliseconds / 1000.0;
    const double wholeSeconds = std::trunc(seconds);
    timespec deadline;
    deadline.tv_sec = now.tv_sec + static_cast<time_t>(wholeSeconds);
    // Not normalised: nanoseconds of a second or more make the wait fail with EINVAL, as
    // documented; callers have been written against that behaviour.
    deadline.tv_nsec = static_cast<long>((seconds - wholeSeconds) * 1e9 +
                                         static_cast<double>(nowMilliseconds) * 1e6 + 0.5);
    return waitOnceLocked(event, &deadline);
}

}  // extern "C"
