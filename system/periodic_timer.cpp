// Periodic timer: a worker thread per started timer that sleeps until an absolute deadline,
// calls the user's callback with the tick number and counts, until the timer is stopped.
//
// The deadline is taken from the clock at the start of every period, so a period lasts the
// interval plus the callback's run time: the timer drifts and never catches up. Stop() only
// lowers a flag; the worker sees it after its current wait and callback.
#include <cstdint>
#include <ctime>
#include <limits>

// Boost marks its exception and error-category classes visible so that they can cross shared
// libraries; compiled into this library they would join its exported symbols, which are the
// documented interface alone. Here they stay internal (exceptions are still matched by name).
#include <boost/config.hpp>
#undef BOOST_SYMBOL_VISIBLE
#define BOOST_SYMBOL_VISIBLE
#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/thread/thread.hpp>

#include "qvtools/system.h"

namespace {

// Microseconds since 1970-01-01 UTC; the date-time library's special values map to the ends of
// the range.
std::int64_t microsecondsSinceEpoch(const boost::posix_time::ptime& t) {
    if (t.is_pos_infinity() || t.is_not_a_date_time()) return std::numeric_limits<std::int64_t>::max();
    if (t.is_neg_infinity()) return std::numeric_limits<std::int64_t>::min();
    static const boost::posix_time::ptime epoch(boost::gregorian::date(1970, 1, 1));
    return (t - epoch).total_microseconds();
}

// Releasing a worker's handle lets the thread run on detached; it ends on its own once it sees
// that its timer stopped.
void releaseWorker(boost::thread* worker) {
    if (worker->joinable()) worker->detach();
    delete worker;
}

constexpr std::int64_t kNanosPerSecond = 1000000000;

}  // namespace

QV_Timer::QV_Timer() : QV_Timer(1000) {}

QV_Timer::QV_Timer(int interval)
    : callbackContext(nullptr),
      callback(nullptr),
      tick(0),
      running(false),
      initialInterval(interval),
      interval(interval),
      deadline(Deadline{0, 0}) {}

QV_Timer::QV_Timer(const QV_Timer& other)
    : callbackContext(other.callbackContext),
      callback(other.callback),
      tick(other.tick.load()),
      running(other.running.load()),
      initialInterval(other.initialInterval),
      interval(other.interval.load()),
      deadline(other.deadline.load()),
      thread(other.thread) {}

QV_Timer& QV_Timer::operator=(const QV_Timer& other) {
    callbackContext = other.callbackContext;
    callback = other.callback;
    tick = other.tick.load();
    running = other.running.load();
    initialInterval = other.initialInterval;
    interval = other.interval.load();
    deadline = other.deadline.load();
    thread = other.thread;
    return *this;
}

QV_Timer::~QV_Timer() {
    tick = 0;
    running = false;
    thread.reset();
}

void QV_Timer::Start() {
    if (running) return;
    // The flag goes up before the worker exists, so its first test cannot miss it.
    running = true;
    try {
        thread.reset(new boost::thread(&QV_Timer::Loop, this), releaseWorker);
    } catch (...) {
        running = false;
        throw;
    }
}

void QV_Timer::Stop() {
    tick = 0;
    running = false;
}

bool QV_Timer::IsRunning() { return running; }

void QV_Timer::SetIntervall(int interval) { this->interval = interval; }

void QV_Timer::Loop() {
    // A worker whose timer was stopped before this thread got going has nothing to do.
    if (!running) return;
    do {
        const std::int64_t now = microsecondsSinceEpoch(boost::posix_time::microsec_clock::universal_time());
        const std::int32_t ms = interval;
        std::int64_t seconds = now / 1000000 + ms / 1000;
        std::int64_t nanos = (now % 1000000) * 1000 + static_cast<std::int64_t>(ms % 1000) * 1000000;
        seconds += nanos / kNanosPerSecond;
        nanos %= kNanosPerSecond;
        if (nanos < 0) {  // a negative interval borrows from the seconds
            nanos += kNanosPerSecond;
            seconds -= 1;
        }
        const Deadline end{static_cast<std::uint32_t>(seconds), static_cast<std::int32_t>(nanos)};
        deadline = end;

        boost::this_thread::sleep(boost::posix_time::from_time_t(static_cast<std::time_t>(end.seconds)) +
                                  boost::posix_time::microseconds(end.nanoseconds / 1000));

        // A context without a callback is the caller's mistake; it is skipped rather than
        // followed into a null call.
        if (callback) callback(callbackContext, tick);
        ++tick;
        // The flag is the only thing a worker tests: a worker whose timer was stopped and
        // started again before it got here sees it up and goes on next to the new worker.
    } while (running);
}
