// Event objects with real threads.  Every blocking step is bounded: a waiter that a fault leaves
// blocked is released by broadcasting the condition (a wait blocks only once), so a broken event
// fails a test instead of hanging it (see Event::releaseAll).
#include <errno.h>
#include <gtest/gtest.h>
#include <sys/time.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "events/KrEvent.h"

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto kBound = 5s;  // generous limit for anything that should happen promptly
constexpr kr_int32 kNone = KR_EVENT_NO_INFORMATION;

template <class Pred>
bool eventually(Pred pred, std::chrono::milliseconds limit = kBound) {
    const auto end = Clock::now() + limit;
    while (!pred()) {
        if (Clock::now() > end) return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

// Expects -1 with errno `err`; errno is cleared first so that a stale value cannot pass.
#define EXPECT_FAILS(call, err)                                                              \
    do {                                                                                     \
        errno = 0;                                                                           \
        const int rc_ = (call), errno_ = errno;                                              \
        EXPECT_TRUE(rc_ == -1 && errno_ == (err)) << #call << ": " << rc_ << ", " << errno_; \
    } while (0)

class Event {
public:
    explicit Event(int manualReset, int initialState = 0, bool wide = false) {
        EXPECT_EQ(wide ? event_initW(&e_, manualReset, initialState, 7, L"test", nullptr)
                       : event_initA(&e_, manualReset, initialState, 0, "test", nullptr),
                  0);
    }
    ~Event() { EXPECT_EQ(event_destroy(&e_), 0); }
    SKrEvent *get() { return &e_; }

    kr_int32 read(kr_int32 SKrEvent::*field) {  // under the event's own mutex
        pthread_mutex_lock(&e_.m_mutex);
        const kr_int32 v = e_.*field;
        pthread_mutex_unlock(&e_.m_mutex);
        return v;
    }
    kr_int32 waiters() { return read(&SKrEvent::m_waiters); }
    kr_int32 state() { return read(&SKrEvent::m_state); }
    bool hasWaiters(int n) {
        return eventually([&] { return waiters() == n; });
    }
    // Releases every blocked waiter whatever the event does: a set manual-reset event plus a
    // broadcast ends a single wait and any re-checking wait alike.
    void releaseAll() {
        pthread_mutex_lock(&e_.m_mutex);
        e_.m_manualReset = 1;
        e_.m_state = 1;
        pthread_cond_broadcast(&e_.m_condition);
        pthread_mutex_unlock(&e_.m_mutex);
    }

private:
    SKrEvent e_;
};

// Threads that each run `body` once; counts the finished ones.  The destructor releases any
// thread still blocked on the event before joining, so a test never hangs.
class Threads {
public:
    Threads(Event &event, int n, std::function<void(int)> body) : event_(event) {
        for (int i = 0; i < n; ++i)
            threads_.emplace_back([this, body, i] {
                body(i);
                ++done_;
            });
    }
    ~Threads() {
        while (done_.load() < static_cast<int>(threads_.size())) {
            event_.releaseAll();
            std::this_thread::sleep_for(1ms);
        }
        for (auto &t : threads_) t.join();
    }
    int done() const { return done_.load(); }
    bool finish(int n, std::chrono::milliseconds limit = kBound) const {
        return eventually([&] { return done() == n; }, limit);
    }
    bool settlesAt(int n) const {  // exactly n finished, and no more a little later
        if (!finish(n)) return false;
        std::this_thread::sleep_for(20ms);
        return done() == n;
    }

private:
    Event &event_;
    std::vector<std::thread> threads_;
    std::atomic<int> done_{0};
};

// Runs one call that should not block (or not for long) on its own thread; a call still
// blocked after kBound is reported and released.
int bounded(Event &ev, const std::function<int()> &call) {
    std::atomic<int> rc{-99};
    Threads t(ev, 1, [&](int) { rc = call(); });
    if (!t.finish(1)) ADD_FAILURE() << "the call blocked";
    return rc.load();
}

}  // namespace

TEST(Event, StateWithoutWaiters) {
    // Calls on an event nobody waits on ('s' signal, 'i' signal with information 7, 'p' pulse,
    // 'r' reset), then the outcome of each following wait: returned at once from event_wait
    // ('0'), event_timedwait ('t'), event_wait_info with the value 7, none ('n') or a null
    // pointer ('-'); or 'T', a zero timeout expired.  Events that start set use the wide form.
    const struct {
        int manual, initial;
        const char *ops, *waits;
    } cases[] = {
        {0, 1, "", "0T"},
        {1, 1, "", "n-0"},
        {0, 0, "s", "0T"},
        {0, 0, "s", "tT"},
        {0, 0, "ss", "0T"},
        {1, 0, "s", "0t0"},
        {1, 0, "sr", "T"},
        {0, 0, "sp", "T"},
        // The waiter does not clear the valid flag; a plain signal does.
        {1, 0, "sp", "T"},
        {0, 0, "i", "7T"},
        {1, 0, "i", "77"},
        {0, 0, "is", "nT"},
        {2, 0, "s", "000"},  // waits consume the state only when the flag is 0
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.manual << c.initial << " " << c.ops);
        Event ev(c.manual, c.initial, c.initial == 1);
        SKrEvent *e = ev.get();
        for (const char *op = c.ops; *op; ++op)
            EXPECT_EQ(*op == 's'   ? event_signal(e)
                      : *op == 'i' ? event_signal_info(e, 7)
                      : *op == 'p' ? event_pulse(e)
                                   : event_reset(e),
                      0);
        for (const char *w = c.waits; *w; ++w) {
            SCOPED_TRACE(*w);
            if (*w == 'T') {
                EXPECT_FAILS(event_timedwait(e, 0.0), ETIMEDOUT);
                continue;
            }
            kr_int32 v = 1234;
            kr_int32 *info = *w == '-' ? nullptr : &v;
            EXPECT_EQ(bounded(ev,
                              [&] {
                                  return *w == '0'   ? event_wait(e)
                                         : *w == 't' ? event_timedwait(e, 0.0)
                                                     : event_wait_info(e, info);
                              }),
                      0);
            if (*w == '7' || *w == 'n') {
                EXPECT_EQ(v, *w == '7' ? 7 : kNone);
            }
        }
    }
    // A reset clears the valid flag too (read directly: any later signal would clear it anyway).
    Event ev(0);
    event_signal_info(ev.get(), 5);
    event_reset(ev.get());
    EXPECT_EQ(ev.read(&SKrEvent::m_informationValid), 0);
}

TEST(Event, BlockedWaitersReleasedAndInformed) {
    // Five blocked waiters: two in event_wait_info, one in event_wait, one in a timed wait with a
    // limit and one beyond 1e15 ms (no limit at all).  Each call releases one of them, or `all`,
    // leaves `state` and hands `value` over (none from the plain calls).  A signal to a waiting
    // auto-reset event leaves the state clear; signal and pulse treat any flag but 1 as auto reset.
    constexpr int kN = 5;
    using Send = int (*)(SKrEvent *, kr_int32);
    const Send signal = [](SKrEvent *e, kr_int32) { return event_signal(e); };
    const Send pulse = [](SKrEvent *e, kr_int32) { return event_pulse(e); };
    const struct {
        int manual;
        Send send;
        kr_int32 value;
        bool all;
        int state;
    } cases[] = {
        {0, signal, kNone, false, 0},       {1, signal, kNone, true, 1},
        {2, signal, kNone, false, 0},       {0, pulse, kNone, false, 0},
        {1, pulse, kNone, true, 0},         {0, event_signal_info, -1, false, 0},
        {1, event_signal_info, 0, true, 1}, {0, event_signal_info, 2147483647, false, 0},
        {1, event_pulse_info, 99, true, 0}, {0, event_pulse_info, kNone + 1, false, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        Event ev(c.manual);
        event_pulse_info(ev.get(), 55);  // stale information that a plain call must not hand over
        std::mutex lock;
        std::vector<kr_int32> seen;
        {
            Threads waiters(ev, kN, [&](int i) {
                kr_int32 v = i < 2 ? 1234 : c.value;  // only waiters 0 and 1 receive a value
                EXPECT_EQ(i < 2    ? event_wait_info(ev.get(), &v)
                          : i == 2 ? event_wait(ev.get())
                                   : event_timedwait(ev.get(), i == 3 ? 10000.0 : HUGE_VAL),
                          0)
                    << i;
                std::lock_guard<std::mutex> g(lock);
                seen.push_back(v);
            });
            ASSERT_TRUE(ev.hasWaiters(kN));
            const int step = c.all ? kN : 1;
            for (int done = step; done <= kN; done += step) {
                EXPECT_EQ(c.send(ev.get(), c.value), 0);
                ASSERT_TRUE(waiters.settlesAt(done));
                EXPECT_EQ(ev.waiters(), kN - done);
                EXPECT_EQ(ev.state(), c.state);
            }
        }
        EXPECT_EQ(seen, std::vector<kr_int32>(kN, c.value));
    }
}

TEST(Event, TimedWait) {
    Event ev(0);
    // Past deadlines time out at once; timeouts that cannot form a deadline are rejected.
    const struct {
        double ms;
        int err;
    } immediate[] = {{0.0, ETIMEDOUT},
                     {-5000.0, ETIMEDOUT},
                     {NAN, EINVAL},
                     {-2e15, EINVAL},
                     {-HUGE_VAL, EINVAL}};
    for (const auto &c : immediate) {
        SCOPED_TRACE(c.ms);
        EXPECT_FAILS(event_timedwait(ev.get(), c.ms), c.err);
        EXPECT_EQ(ev.waiters(), 0);
    }

    // A whole-second timeout is always a valid deadline and really waits.
    const auto start = Clock::now();
    EXPECT_FAILS(event_timedwait(ev.get(), 1000.0), ETIMEDOUT);
    EXPECT_GE(Clock::now() - start, 900ms);
    EXPECT_LT(Clock::now() - start, kBound);

    // 999 ms adds 999000000 ns to the current millisecond's nanoseconds: from millisecond 1 of a
    // second on, the deadline is out of range and the wait fails at once.  Sample well inside a
    // second so the function's own clock reading falls in the same second.
    timeval now;
    ASSERT_TRUE(eventually([&] {
        gettimeofday(&now, nullptr);
        return now.tv_usec >= 10000 && now.tv_usec <= 900000;
    }));
    const auto t0 = Clock::now();
    EXPECT_FAILS(event_timedwait(ev.get(), 999.0), EINVAL);
    EXPECT_LT(Clock::now() - t0, 500ms);
    EXPECT_EQ(ev.waiters(), 0);
}

TEST(Event, NullEventIsRejectedEverywhere) {
    kr_int32 info = 5;
    EXPECT_FAILS(event_initA(nullptr, 0, 0, 0, nullptr, nullptr), EINVAL);
    EXPECT_FAILS(event_initW(nullptr, 1, 1, 0, nullptr, nullptr), EINVAL);
    EXPECT_FAILS(event_destroy(nullptr), EINVAL);
    EXPECT_FAILS(event_signal(nullptr), EINVAL);
    EXPECT_FAILS(event_signal_info(nullptr, 1), EINVAL);
    EXPECT_FAILS(event_pulse(nullptr), EINVAL);
    EXPECT_FAILS(event_pulse_info(nullptr, 1), EINVAL);
    EXPECT_FAILS(event_reset(nullptr), EINVAL);
    EXPECT_FAILS(event_wait(nullptr), EINVAL);
    EXPECT_FAILS(event_wait_info(nullptr, &info), EINVAL);
    EXPECT_EQ(info, kNone);
    EXPECT_FAILS(event_wait_info(nullptr, nullptr), EINVAL);
    EXPECT_FAILS(event_timedwait(nullptr, 10.0), EINVAL);
}

TEST(Event, ManyThreadsSignalAndWaitAtOnce) {
    // Mixed traffic on one event; checks that it stays consistent and that waiters only ever
    // see values that were sent or the no-information value.
    constexpr int kSignalers = 4, kWaiters = 4, kOps = 400;
    for (int manual : {0, 1}) {
        SCOPED_TRACE(manual);
        Event ev(manual);
        SKrEvent *e = ev.get();
        std::atomic<int> bad{0};
        {
            Threads waiters(ev, kWaiters, [&](int) {
                for (int i = 0; i < kOps; ++i) {
                    kr_int32 v = 1;
                    const int rc = i % 3 == 0   ? event_wait_info(e, &v)
                                   : i % 3 == 1 ? event_timedwait(e, 0.0)
                                                : event_wait(e);
                    if (rc == 0 ? v != kNone && (v < 1 || v > kOps) : rc != -1) ++bad;
                }
            });
            Threads signalers(ev, kSignalers, [&](int t) {
                for (int i = 1; i <= kOps; ++i) {
                    const int op = (i + t) % 5;
                    const int rc = op == 0   ? event_signal(e)
                                   : op == 1 ? event_signal_info(e, i)
                                   : op == 2 ? event_pulse(e)
                                   : op == 3 ? event_pulse_info(e, i)
                                             : event_reset(e);
                    if (rc != 0) ++bad;
                }
            });
            ASSERT_TRUE(signalers.finish(kSignalers, 30s));
            // Signals lost to racing waiters are part of the design; drain the remaining waits
            // with plain signals (each ends one wait).
            const auto end = Clock::now() + 30s;
            while (waiters.done() < kWaiters && Clock::now() < end) {
                event_signal(e);
                std::this_thread::yield();
            }
            EXPECT_EQ(waiters.done(), kWaiters);
        }
        EXPECT_EQ(bad.load(), 0);
        EXPECT_EQ(ev.waiters(), 0);
    }
}
