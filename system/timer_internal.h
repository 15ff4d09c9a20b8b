// Test seam of the periodic timer: read-only views of QV_Timer's private state and a copy of
// its worker handle, so tests can wait for a worker to end before the timer goes away. Not
// exported from the shared library.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "qvtools/system.h"

namespace qv {

struct TimerAccess {
    static std::uint32_t tick(const QV_Timer& t) { return t.tick.load(); }
    static int initialInterval(const QV_Timer& t) { return t.initialInterval; }
    static int interval(const QV_Timer& t) { return t.interval.load(); }
    // The current deadline: seconds since 1970-01-01 UTC and nanoseconds ({0, 0} before the
    // first period).
    static std::pair<std::uint32_t, std::int32_t> deadline(const QV_Timer& t) {
        const QV_Timer::Deadline d = t.deadline.load();
        return {d.seconds, d.nanoseconds};
    }
    // The handle of the latest worker (empty before the first Start).
    static std::shared_ptr<boost::thread> worker(const QV_Timer& t) { return t.thread; }
};

}  // namespace qv
