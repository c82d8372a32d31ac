// Event objects with real threads.  Every blocking step is bounded: a waiter that a fault leaves
// blocked is released by broadcasting the condition (a wait blocks only once), so a broken event
// fails a test instead of hanging it (see Event::releaseAll).
#include <gtest/gtest.h>

#include <errno.h>
#include <sys/time.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <functional>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "events/KrEvent.h"

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto kBound = 5s;  // generous limit for anything that should happen promptly

template <class Pred>
bool eventually(Pred pred, std::chrono::milliseconds limit = kBound) {
    const auto end = Clock::now() + limit;
    while (!pred()) {
        if (Clock::now() > end) return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

class Event {
public:
    explicit Event(int manualReset, int initialState = 0) {
        EXPECT_EQ(event_initA(&e_, manualReset, initialState, 0, "test", nullptr), 0);
    }
    ~Event() { EXPECT_EQ(event_destroy(&e_), 0); }
    SKrEvent *get() { return &e_; }

    // Fields read under the event's own mutex.
    kr_int32 waiters() { return locked([this] { return e_.m_waiters; }); }
    kr_int32 state() { return locked([this] { return e_.m_state; }); }
    kr_int32 infoValid() { return locked([this] { return e_.m_informationValid; }); }
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
    template <class F>
    kr_int32 locked(F f) {
        pthread_mutex_lock(&e_.m_mutex);
        const kr_int32 v = f();
        pthread_mutex_unlock(&e_.m_mutex);
        return v;
    }
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

private:
    Event &event_;
    std::vector<std::thread> threads_;
    std::atomic<int> done_{0};
};

// Runs one call that should not block (or not for long) on its own thread; a call still
// blocked after kBound is reported and released.
int bounded(Event &ev, const std::function<int()> &call) {
    std::atomic<int> rc{-99};
    std::atomic<bool> finished{false};
    std::thread t([&] {
        rc = call();
        finished = true;
    });
    if (!eventually([&] { return finished.load(); })) {
        ADD_FAILURE() << "the call blocked";
        while (!finished.load()) {
            ev.releaseAll();
            std::this_thread::sleep_for(1ms);
        }
    }
    t.join();
    return rc.load();
}

}  // namespace

TEST(Event, AutoResetSignalWithoutWaiterReleasesOneLaterWait) {
    Event ev(0);
    ASSERT_EQ(event_signal(ev.get()), 0);
    EXPECT_EQ(ev.state(), 1);
    // Returns at once and consumes the state.
    EXPECT_EQ(bounded(ev, [&] { return event_wait(ev.get()); }), 0);
    EXPECT_EQ(ev.state(), 0);

    Threads second(ev, 1, [&](int) { event_wait(ev.get()); });
    ASSERT_TRUE(eventually([&] { return ev.waiters() == 1; }));
    std::this_thread::sleep_for(20ms);
    EXPECT_EQ(second.done(), 0) << "a consumed auto-reset event must block the next wait";
    EXPECT_EQ(event_signal(ev.get()), 0);
    EXPECT_TRUE(eventually([&] { return second.done() == 1; }));
    EXPECT_EQ(ev.state(), 0) << "a signal to a waiter leaves the state clear";
}

TEST(Event, AutoResetSignalReleasesExactlyOneOfSeveralWaiters) {
    Event ev(0);
    Threads waiters(ev, 3, [&](int) { EXPECT_EQ(event_wait(ev.get()), 0); });
    ASSERT_TRUE(eventually([&] { return ev.waiters() == 3; }));
    for (int released = 1; released <= 3; ++released) {
        ASSERT_EQ(event_signal(ev.get()), 0);
        ASSERT_TRUE(eventually([&] { return waiters.done() == released; }));
        std::this_thread::sleep_for(20ms);
        EXPECT_EQ(waiters.done(), released);
        EXPECT_EQ(ev.waiters(), 3 - released);
        EXPECT_EQ(ev.state(), 0);
    }
}

TEST(Event, ManualResetReleasesEveryWaitUntilReset) {
    Event ev(1);
    {
        Threads waiters(ev, 4, [&](int) { EXPECT_EQ(event_wait(ev.get()), 0); });
        ASSERT_TRUE(eventually([&] { return ev.waiters() == 4; }));
        ASSERT_EQ(event_signal(ev.get()), 0);
        EXPECT_TRUE(eventually([&] { return waiters.done() == 4; }));
    }
    // Still set: later waits pass straight through.
    EXPECT_EQ(ev.state(), 1);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(bounded(ev, [&] { return event_wait(ev.get()); }), 0);
    EXPECT_EQ(event_timedwait(ev.get(), 0.0), 0);

    EXPECT_EQ(event_reset(ev.get()), 0);
    EXPECT_EQ(ev.state(), 0);
    errno = 0;
    EXPECT_EQ(event_timedwait(ev.get(), 0.0), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
}

TEST(Event, InitialStateAndFlagReadings) {
    Event set(0, 1);
    EXPECT_EQ(bounded(set, [&] { return event_wait(set.get()); }), 0);
    EXPECT_EQ(set.state(), 0);

    // A flag other than 0 and 1: signalled as auto-reset, but waits do not consume the state.
    Event odd(2);
    EXPECT_EQ(event_signal(odd.get()), 0);
    EXPECT_EQ(bounded(odd, [&] { return event_wait(odd.get()); }), 0);
    EXPECT_EQ(bounded(odd, [&] { return event_wait(odd.get()); }), 0);
    EXPECT_EQ(odd.state(), 1);

    SKrEvent w;
    ASSERT_EQ(event_initW(&w, 1, 0, 7, L"name", nullptr), 0);
    EXPECT_EQ(w.m_manualReset, 1);
    EXPECT_EQ(w.m_state, 0);
    EXPECT_EQ(w.m_waiters, 0);
    EXPECT_EQ(w.m_information, static_cast<kr_int32>(0x80000000u));
    EXPECT_EQ(w.m_informationValid, 0);
    EXPECT_EQ(event_destroy(&w), 0);
}

TEST(Event, PulseWithAndWithoutWaiters) {
    for (int manual : {0, 1}) {
        SCOPED_TRACE(manual);
        Event ev(manual);
        // No waiter: no effect, and an earlier set state is cleared.
        EXPECT_EQ(event_pulse(ev.get()), 0);
        EXPECT_EQ(ev.state(), 0);
        event_signal(ev.get());
        EXPECT_EQ(event_pulse(ev.get()), 0);
        EXPECT_EQ(ev.state(), 0);
        EXPECT_EQ(event_timedwait(ev.get(), 0.0), -1);

        Threads waiters(ev, 3, [&](int) { EXPECT_EQ(event_wait(ev.get()), 0); });
        ASSERT_TRUE(eventually([&] { return ev.waiters() == 3; }));
        EXPECT_EQ(event_pulse(ev.get()), 0);
        const int expected = manual ? 3 : 1;
        ASSERT_TRUE(eventually([&] { return waiters.done() == expected; }));
        std::this_thread::sleep_for(20ms);
        EXPECT_EQ(waiters.done(), expected);
        EXPECT_EQ(ev.state(), 0);
        while (waiters.done() < 3) {  // release the rest one pulse at a time
            const int before = waiters.done();
            event_pulse(ev.get());
            ASSERT_TRUE(eventually([&] { return waiters.done() > before; }));
        }
    }
}

TEST(Event, InformationDelivery) {
    const kr_int32 none = static_cast<kr_int32>(0x80000000u);
    EXPECT_EQ(KR_EVENT_NO_INFORMATION, none);
    Event ev(0);
    kr_int32 got = 0;

    // Signal without a waiter keeps the value for the next wait.
    event_signal_info(ev.get(), 7);
    EXPECT_EQ(bounded(ev, [&] { return event_wait_info(ev.get(), &got); }), 0);
    EXPECT_EQ(got, 7);
    EXPECT_EQ(ev.infoValid(), 1) << "the waiter does not clear the valid flag";

    // A plain signal invalidates it.
    event_signal(ev.get());
    EXPECT_EQ(bounded(ev, [&] { return event_wait_info(ev.get(), &got); }), 0);
    EXPECT_EQ(got, none);

    // Fresh event: nothing handed over.
    Event fresh(1, 1);
    got = 0;
    EXPECT_EQ(bounded(fresh, [&] { return event_wait_info(fresh.get(), &got); }), 0);
    EXPECT_EQ(got, none);
    EXPECT_EQ(bounded(fresh, [&] { return event_wait_info(fresh.get(), nullptr); }), 0);

    // Negative and extreme values survive the hand-over to a blocked waiter.
    for (kr_int32 value : {-1, 0, 2147483647, none + 1}) {
        std::atomic<kr_int32> received{1234};
        {
            Threads waiter(ev, 1, [&](int) {
                kr_int32 v = 1234;
                EXPECT_EQ(event_wait_info(ev.get(), &v), 0);
                received = v;
            });
            ASSERT_TRUE(eventually([&] { return ev.waiters() == 1; }));
            EXPECT_EQ(event_signal_info(ev.get(), value), 0);
            ASSERT_TRUE(eventually([&] { return waiter.done() == 1; }));
        }
        EXPECT_EQ(received.load(), value);
        EXPECT_EQ(ev.state(), 0);
    }

    // Pulse with information reaches every waiter of a manual-reset event.
    Event manual(1);
    std::mutex lock;
    std::multiset<kr_int32> seen;
    {
        Threads waiters(manual, 3, [&](int) {
            kr_int32 v = 0;
            event_wait_info(manual.get(), &v);
            std::lock_guard<std::mutex> g(lock);
            seen.insert(v);
        });
        ASSERT_TRUE(eventually([&] { return manual.waiters() == 3; }));
        EXPECT_EQ(event_pulse_info(manual.get(), 99), 0);
        ASSERT_TRUE(eventually([&] { return waiters.done() == 3; }));
    }
    EXPECT_EQ(seen, (std::multiset<kr_int32>{99, 99, 99}));
    EXPECT_EQ(manual.state(), 0);

    // Reset clears validity.
    event_signal_info(manual.get(), 5);
    event_reset(manual.get());
    event_signal(manual.get());
    EXPECT_EQ(bounded(manual, [&] { return event_wait_info(manual.get(), &got); }), 0);
    EXPECT_EQ(got, none);
}

TEST(Event, TimedWait) {
    Event ev(0);
    // A zero timeout has a deadline in the past.
    errno = 0;
    EXPECT_EQ(event_timedwait(ev.get(), 0.0), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_EQ(ev.waiters(), 0);

    // A whole-second timeout is always a valid deadline and really waits.
    const auto start = Clock::now();
    errno = 0;
    EXPECT_EQ(event_timedwait(ev.get(), 1000.0), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    const auto waited = Clock::now() - start;
    EXPECT_GE(waited, 900ms);
    EXPECT_LT(waited, kBound);

    // Set before the call: returns at once and consumes the state.
    event_signal(ev.get());
    EXPECT_EQ(event_timedwait(ev.get(), 0.0), 0);
    EXPECT_EQ(ev.state(), 0);

    // Signalled during the wait.
    std::atomic<int> rc{99};
    {
        Threads waiter(ev, 1, [&](int) { rc = event_timedwait(ev.get(), 3000.0); });
        ASSERT_TRUE(eventually([&] { return ev.waiters() == 1; }));
        event_signal(ev.get());
        ASSERT_TRUE(eventually([&] { return waiter.done() == 1; }));
    }
    EXPECT_EQ(rc.load(), 0);

    // Timeouts that cannot form a deadline fail at once.
    errno = 0;
    EXPECT_EQ(event_timedwait(ev.get(), std::nan("")), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(event_timedwait(ev.get(), -1e300), -1);
    EXPECT_EQ(ev.waiters(), 0);
}

TEST(Event, TimedWaitDeadlineIsNotNormalised) {
    // 999 ms adds 999000000 ns to the current millisecond's nanoseconds: from millisecond 1 of a
    // second on, the deadline is out of range and the wait fails at once.  Sample well inside a
    // second so the function's own clock reading falls in the same second.
    Event ev(0);
    timeval now;
    ASSERT_TRUE(eventually([&] {
        gettimeofday(&now, nullptr);
        return now.tv_usec >= 10000 && now.tv_usec <= 900000;
    }));
    const auto t0 = Clock::now();
    errno = 0;
    EXPECT_EQ(event_timedwait(ev.get(), 999.0), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_LT(Clock::now() - t0, 500ms);
    EXPECT_EQ(ev.waiters(), 0);
}

TEST(Event, NullEventIsRejectedEverywhere) {
    kr_int32 info = 5;
    errno = 0;
    EXPECT_EQ(event_initA(nullptr, 0, 0, 0, nullptr, nullptr), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(event_initW(nullptr, 1, 1, 0, nullptr, nullptr), -1);
    EXPECT_EQ(event_destroy(nullptr), -1);
    EXPECT_EQ(event_signal(nullptr), -1);
    EXPECT_EQ(event_signal_info(nullptr, 1), -1);
    EXPECT_EQ(event_pulse(nullptr), -1);
    EXPECT_EQ(event_pulse_info(nullptr, 1), -1);
    EXPECT_EQ(event_reset(nullptr), -1);
    EXPECT_EQ(event_wait(nullptr), -1);
    EXPECT_EQ(event_wait_info(nullptr, &info), -1);
    EXPECT_EQ(info, KR_EVENT_NO_INFORMATION);
    EXPECT_EQ(event_wait_info(nullptr, nullptr), -1);
    EXPECT_EQ(event_timedwait(nullptr, 10.0), -1);
}

TEST(Event, ManyThreadsSignalAndWaitAtOnce) {
    // Mixed traffic on one event; checks that it stays consistent and that waiters only ever
    // see values that were sent or the no-information value.
    for (int manual : {0, 1}) {
        SCOPED_TRACE(manual);
        Event ev(manual);
        constexpr int kSignalers = 4, kWaiters = 4, kOps = 400;
        std::atomic<int> bad{0};
        {
            Threads waiters(ev, kWaiters, [&](int) {
                for (int i = 0; i < kOps; ++i) {
                    kr_int32 v = 0;
                    int rc;
                    switch (i % 3) {
                        case 0: rc = event_wait_info(ev.get(), &v); break;
                        case 1: rc = event_timedwait(ev.get(), 0.0); v = 1; break;
                        default: rc = event_wait(ev.get()); v = 1; break;
                    }
                    if (rc == 0 && !(v == KR_EVENT_NO_INFORMATION || (v >= 1 && v <= kOps))) ++bad;
                    if (rc != 0 && rc != -1) ++bad;
                }
            });
            {
                Threads signalers(ev, kSignalers, [&](int t) {
                    for (int i = 1; i <= kOps; ++i) {
                        int rc;
                        switch ((i + t) % 5) {
                            case 0: rc = event_signal(ev.get()); break;
                            case 1: rc = event_signal_info(ev.get(), i); break;
                            case 2: rc = event_pulse(ev.get()); break;
                            case 3: rc = event_pulse_info(ev.get(), i); break;
                            default: rc = event_reset(ev.get()); break;
                        }
                        if (rc != 0) ++bad;
                    }
                });
                ASSERT_TRUE(eventually([&] { return signalers.done() == kSignalers; }, 30s));
            }
            // Signals lost to racing waiters are part of the design; drain the remaining waits
            // with plain signals (each ends one wait).
            const auto end = Clock::now() + 30s;
            while (waiters.done() < kWaiters && Clock::now() < end) {
                event_signal(ev.get());
                std::this_thread::yield();
            }
            EXPECT_EQ(waiters.done(), kWaiters);
        }
        EXPECT_EQ(bad.load(), 0);
        EXPECT_EQ(ev.waiters(), 0);
    }
}
