// Periodic timer: callbacks, tick numbering, stopping and restarting, interval changes and
// copies. The worker runs on its own thread, so every test waits on conditions with generous
// time limits and checks times only as bounds that a slow machine cannot break. Each test ends
// its workers (joins them) before the timer and the recorder go away.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/thread/thread.hpp>

#include "QV_Tools.h"
#include "system/timer_internal.h"

namespace {

using qv::TimerAccess;
using SteadyClock = std::chrono::steady_clock;
using Worker = std::shared_ptr<boost::thread>;

constexpr auto kPatience = std::chrono::seconds(20);

// Polls `condition` until it holds; false when the patience runs out.
template <class Condition>
bool eventually(Condition condition) {
    const auto end = SteadyClock::now() + kPatience;
    while (!condition()) {
        if (SteadyClock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

bool joined(const Worker& worker) { return !worker || worker->timed_join(boost::posix_time::seconds(20)); }

// Stops the timer and waits for its latest worker to end.
bool stopAndJoin(QV_Timer& timer) {
    Worker worker = TimerAccess::worker(timer);
    timer.Stop();
    return joined(worker);
}

// Microseconds since 1970 on the clock the timer uses for its deadlines.
std::int64_t wallMicros() {
    static const boost::posix_time::ptime epoch(boost::gregorian::date(1970, 1, 1));
    return (boost::posix_time::microsec_clock::universal_time() - epoch).total_microseconds();
}

std::int64_t deadlineMicros(const QV_Timer& timer) {
    const auto d = TimerAccess::deadline(timer);
    return static_cast<std::int64_t>(d.first) * 1000000 + d.second / 1000;
}

// The callback's context: records each call and can run a hook on the worker thread.
struct Recorder {
    struct Call {
        unsigned tick;
        SteadyClock::time_point start;
        std::int64_t deadlineAtEntry;  // the deadline of the wait that just ended
        std::int32_t deadlineNanos;    // its nanosecond part
        std::int64_t wallEnd;          // when the callback returned
        bool flag;                     // the test's flag when the call began
        boost::thread::id thread;      // the worker that made the call
    };

    const QV_Timer* timer = nullptr;
    std::function<void(unsigned)> hook;
    std::atomic<bool> flag{false};

    static void callback(void* context, unsigned tick) { static_cast<Recorder*>(context)->record(tick); }

    void record(unsigned tick) {
        Call call{tick, SteadyClock::now(), timer ? deadlineMicros(*timer) : 0,
                  timer ? TimerAccess::deadline(*timer).second : 0, 0, flag.load(), boost::this_thread::get_id()};
        if (hook) hook(tick);
        call.wallEnd = wallMicros();
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_calls.push_back(call);
        }
        m_changed.notify_all();
    }

    bool waitForCalls(std::size_t n) {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, kPatience, [&] { return m_calls.size() >= n; });
    }

    std::vector<Call> calls() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_calls;
    }

    std::vector<unsigned> ticks() {
        std::vector<unsigned> out;
        for (const Call& c : calls()) out.push_back(c.tick);
        return out;
    }

    void attach(QV_Timer& t) {
        timer = &t;
        t.callbackContext = this;
        t.callback = &Recorder::callback;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Call> m_calls;
};

// A gate the callback can wait at until the test opens it.
struct Gate {
    std::atomic<bool> entered{false};
    std::atomic<bool> open{false};
    void wait() {
        entered = true;
        while (!open) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    void release() { open = true; }
};

// Starts `timer` with `rec` attached and its first call (tick 0) held at `gate`, and waits until
// the worker is inside that call: from then on the worker writes nothing until the gate opens.
void startHeldInFirstCall(QV_Timer& timer, Recorder& rec, Gate& gate) {
    rec.hook = [&gate](unsigned tick) {
        if (tick == 0) gate.wait();
    };
    rec.attach(timer);
    timer.Start();
    ASSERT_TRUE(eventually([&] { return gate.entered.load(); }));
}

// Ends a test's timer however the test left it: opens its gate and joins its latest worker,
// so that no worker outlives the timer or the recorder.
struct Cleanup {
    QV_Timer& timer;
    Gate* gate = nullptr;
    ~Cleanup() {
        if (gate) gate->release();
        stopAndJoin(timer);
    }
};

// Runs `scenario` until it reports that the machine let it observe what it meant to (a
// scenario that needs the test thread to act within one period returns false when it did not),
// with a longer interval on each attempt.
template <class Scenario>
void withRetries(Scenario scenario) {
    for (int interval = 300; interval <= 2400; interval *= 2)
        if (scenario(interval) || ::testing::Test::HasFailure()) return;
    GTEST_SKIP() << "the test thread never acted within one timer period";
}

TEST(PeriodicTimer, CallsBackWithContextAndConsecutiveTicks) {
    Recorder rec;
    QV_Timer timer(10);
    Cleanup cleanup{timer};
    rec.attach(timer);
    timer.Start();
    EXPECT_TRUE(timer.IsRunning());
    const Worker worker = TimerAccess::worker(timer);
    timer.Start();  // changes nothing while running
    EXPECT_EQ(TimerAccess::worker(timer), worker);
    ASSERT_TRUE(rec.waitForCalls(5));
    ASSERT_TRUE(stopAndJoin(timer));
    EXPECT_FALSE(timer.IsRunning());

    // 0, 1, 2, ... then at most one more call, made after Stop with the reset tick 0.
    std::vector<unsigned> ticks = rec.ticks();
    ASSERT_GE(ticks.size(), 5u);
    if (ticks.back() == 0) ticks.pop_back();
    for (unsigned i = 0; i < ticks.size(); ++i) EXPECT_EQ(ticks[i], i);
    EXPECT_LE(TimerAccess::tick(timer), 1u);
}

TEST(PeriodicTimer, CountsTicksWithoutCallback) {
    QV_Timer timer(5);
    Cleanup cleanup{timer};
    timer.Start();
    EXPECT_TRUE(eventually([&] { return TimerAccess::tick(timer) >= 3; }));
    ASSERT_TRUE(stopAndJoin(timer));

    // A context without a callback is skipped, not called.
    int context = 0;
    timer.callbackContext = &context;
    timer.Start();
    EXPECT_TRUE(eventually([&] { return TimerAccess::tick(timer) >= 3; }));
    ASSERT_TRUE(stopAndJoin(timer));
    EXPECT_EQ(context, 0);
}

TEST(PeriodicTimer, StopDuringCallbackEndsAfterItAndRestartContinuesFromOne) {
    Recorder rec;
    Gate gate;
    QV_Timer timer(10);
    Cleanup cleanup{timer, &gate};
    ASSERT_NO_FATAL_FAILURE(startHeldInFirstCall(timer, rec, gate));
    const Worker worker = TimerAccess::worker(timer);
    timer.Stop();
    EXPECT_EQ(TimerAccess::tick(timer), 0u);
    gate.release();
    ASSERT_TRUE(joined(worker));

    // The worker counted the call it was making and did not wait again.
    EXPECT_EQ(rec.ticks(), std::vector<unsigned>({0}));
    EXPECT_EQ(TimerAccess::tick(timer), 1u);

    timer.Start();
    ASSERT_TRUE(rec.waitForCalls(2));
    EXPECT_EQ(rec.ticks()[1], 1u);
}

TEST(PeriodicTimer, StopDuringWaitCallsBackOnceMoreWithTickZero) {
    withRetries([](int interval) {
        Recorder rec;
        QV_Timer timer(interval);
        Cleanup cleanup{timer};
        rec.attach(timer);
        timer.Start();
        const Worker worker = TimerAccess::worker(timer);
        if (!rec.waitForCalls(2)) {
            ADD_FAILURE() << "fewer than 2 calls";
            return true;
        }
        // Wait until the worker has begun the wait after the second call, then stop.
        const std::int64_t second = rec.calls()[1].deadlineAtEntry;
        EXPECT_TRUE(eventually([&] { return deadlineMicros(timer) != second; }));
        timer.Stop();
        rec.flag = true;
        EXPECT_TRUE(joined(worker));

        const auto calls = rec.calls();
        if (calls.size() != 3 || !calls[2].flag) return false;  // Stop came too late
        EXPECT_EQ(calls[2].tick, 0u);
        EXPECT_EQ(TimerAccess::tick(timer), 1u);
        EXPECT_FALSE(timer.IsRunning());

        // A new start continues from the tick that last call left.
        timer.Start();
        if (!rec.waitForCalls(4)) {
            ADD_FAILURE() << "fewer than 4 calls";
            return true;
        }
        EXPECT_EQ(rec.calls()[3].tick, 1u);
        return true;
    });
}

TEST(PeriodicTimer, RestartBeforeOldWorkerWakesContinuesFromZeroAndKeepsItLooping) {
    withRetries([](int interval) {
        Recorder rec;
        QV_Timer timer(interval);
        Cleanup cleanup{timer};
        rec.attach(timer);
        timer.Start();
        const Worker old = TimerAccess::worker(timer);
        const boost::thread::id oldId = old->get_id();
        // The old worker outlives its handle; it must end before the timer goes away.
        struct JoinOld {
            QV_Timer& timer;
            Worker old;
            ~JoinOld() {
                timer.Stop();
                joined(old);
            }
        } joinOld{timer, old};
        if (!rec.waitForCalls(2)) {
            ADD_FAILURE() << "fewer than 2 calls";
            return true;
        }
        const std::int64_t second = rec.calls()[1].deadlineAtEntry;
        EXPECT_TRUE(eventually([&] { return deadlineMicros(timer) != second; }));
        // Leave a third of a period between the two workers' deadlines.
        std::this_thread::sleep_for(std::chrono::milliseconds(interval / 3));
        timer.Stop();
        timer.Start();
        rec.flag = true;
        const Worker fresh = TimerAccess::worker(timer);
        EXPECT_NE(fresh, old);
        const boost::thread::id freshId = fresh->get_id();

        // The old worker wakes to a running timer: it calls back with the reset tick and goes
        // on looping beside the new worker until the next Stop().
        auto callsAfterRestart = [&](boost::thread::id id) {
            const auto calls = rec.calls();
            int n = 0;
            for (std::size_t i = 2; i < calls.size(); ++i) n += calls[i].thread == id;
            return n;
        };
        EXPECT_TRUE(eventually([&] { return callsAfterRestart(oldId) >= 2 && callsAfterRestart(freshId) >= 1; }));
        EXPECT_TRUE(timer.IsRunning());
        timer.Stop();
        EXPECT_TRUE(joined(old));
        EXPECT_TRUE(joined(fresh));

        const auto calls = rec.calls();
        // Retry when the old worker woke before the restart.
        if (!calls[2].flag || calls[2].thread != oldId) return false;
        EXPECT_EQ(calls[2].tick, 0u);
        return true;
    });
}

TEST(PeriodicTimer, SetIntervallChangesOnlyTheNextPeriod) {
    EXPECT_EQ(TimerAccess::interval(QV_Timer()), 1000);
    const QV_Timer converted = 250;  // the interval constructor also converts
    EXPECT_EQ(TimerAccess::interval(converted), 250);
    EXPECT_EQ(TimerAccess::initialInterval(converted), 250);
    withRetries([](int interval) {
        Recorder rec;
        QV_Timer timer(interval);
        Cleanup cleanup{timer};
        rec.attach(timer);
        timer.Start();
        if (!eventually([&] { return deadlineMicros(timer) != 0; })) {
            ADD_FAILURE() << "the worker never computed a deadline";
            return true;
        }
        const std::int64_t seen = wallMicros();
        const std::int64_t first = deadlineMicros(timer);
        timer.SetIntervall(2000);
        rec.flag = true;
        EXPECT_EQ(TimerAccess::initialInterval(timer), interval);
        EXPECT_LE(first, seen + interval * 1000);  // the current wait was computed with the old interval

        if (!rec.waitForCalls(1)) {
            ADD_FAILURE() << "no call";
            return true;
        }
        const auto call = rec.calls()[0];
        if (!call.flag) return false;  // the first wait ended before the change was made
        EXPECT_EQ(call.deadlineAtEntry, first);  // that wait was neither shortened nor lengthened
        EXPECT_TRUE(eventually([&] { return deadlineMicros(timer) != first; }));
        EXPECT_GE(deadlineMicros(timer) - call.wallEnd, 2000000 - 1000);
        EXPECT_LE(deadlineMicros(timer), wallMicros() + 2000000);  // and no more than the new interval
        EXPECT_TRUE(stopAndJoin(timer));
        return true;
    });
}

TEST(PeriodicTimer, PeriodLastsIntervalPlusCallbackTime) {
    Recorder rec;
    rec.hook = [](unsigned) { std::this_thread::sleep_for(std::chrono::milliseconds(50)); };
    QV_Timer timer(250);
    Cleanup cleanup{timer};
    rec.attach(timer);
    timer.Start();
    ASSERT_TRUE(rec.waitForCalls(4));
    ASSERT_TRUE(stopAndJoin(timer));

    const auto calls = rec.calls();
    for (unsigned i = 1; i < 4; ++i) {
        EXPECT_EQ(calls[i].tick, i);
        EXPECT_LT(calls[i].deadlineNanos, 1000000000) << "whole seconds carried out of the nanoseconds";
        EXPECT_GE(calls[i].start - calls[i - 1].start, std::chrono::milliseconds(298)) << "call " << i;
    }
}

TEST(PeriodicTimer, CopiesShareStateAndWorkerHandle) {
    Recorder rec;
    Gate gate;
    QV_Timer timer(20);
    Cleanup cleanup{timer, &gate};
    ASSERT_NO_FATAL_FAILURE(startHeldInFirstCall(timer, rec, gate));  // the worker now writes nothing
    const Worker worker = TimerAccess::worker(timer);
    {
        QV_Timer copy(timer);
        EXPECT_TRUE(copy.IsRunning());
        EXPECT_EQ(copy.callbackContext, timer.callbackContext);
        EXPECT_EQ(TimerAccess::worker(copy), worker);
        EXPECT_EQ(deadlineMicros(copy), deadlineMicros(timer));

        QV_Timer assigned(5);
        assigned = timer;
        EXPECT_TRUE(assigned.IsRunning());
        EXPECT_EQ(TimerAccess::initialInterval(assigned), 20);
        EXPECT_EQ(TimerAccess::worker(assigned), worker);

        // A copy has a flag of its own: stopping it leaves the original running.
        copy.Stop();
        EXPECT_FALSE(copy.IsRunning());
        EXPECT_TRUE(timer.IsRunning());
    }
    // The copies were destroyed while the worker is held in the callback: a destructor that
    // joined would never have returned. They released only their share of the handle.
    EXPECT_EQ(TimerAccess::worker(timer), worker);
    EXPECT_EQ(worker.use_count(), 2);
    EXPECT_TRUE(timer.IsRunning());
    gate.release();
    EXPECT_TRUE(rec.waitForCalls(2));
}

}  // namespace
