// Signal towers: the outputs of USB signal towers, switched through the tower driver library
// that is loaded at run time. Towers are numbered from 1 and have five outputs; the last value
// written to each output of towers 1 to 9 is remembered.
//
// The driver's two setters report success differently: "SetSingleIO" returns 1, "SetIOStatus"
// returns 0. Exceptions raised inside driver calls are caught here and become code -5.
#include "system/signal_tower_internal.h"

#include <algorithm>

#include "logging/frame.h"
#include "qvtools/system.h"
#include "system/platform.h"

namespace {

using qv::signal_tower::kOutputs;
using qv::signal_tower::kRememberedTowers;

// Missing driver library or driver function (a code without a name of its own).
constexpr int kErrDriver = -11;
// At least this many towers are initialised, whatever number the driver reports.
constexpr int kInitialisedTowers = 8;

constexpr const char* kNoTowerMsg =
    "cannot set device device id invalid or no device found call QV_SignalTower_Init() to init signal tower devices";
constexpr const char* kInternalErrorMsg = "some internal error occured while trying to set io of the signal tower";
constexpr const char* kNoSetSingleIOMsg = "function \"SetSingleIO\" not found in slma.dll library not found";

using SetUsbDeviceFn = int (*)();
using InitIOStatusFn = int (*)(int, int, int, int, int, int);
using SetIOStatusFn = int (*)(int, int, int, int);
using SetSingleIOFn = int (*)(int, int, int);

struct Driver {
    void* module = nullptr;
    SetUsbDeviceFn setUsbDevice = nullptr;
    InitIOStatusFn initIOStatus = nullptr;
    SetIOStatusFn setIOStatus = nullptr;
    SetSingleIOFn setSingleIO = nullptr;
    int towerCount = 0;
    int values[kRememberedTowers][kOutputs] = {};

    // Unloads the library and forgets every address into it, so that no setter can call into
    // code that is gone.
    void release() {
        qv::platform::releaseLibrary(module);
        module = nullptr;
        setUsbDevice = nullptr;
        initIOStatus = nullptr;
        setIOStatus = nullptr;
        setSingleIO = nullptr;
    }
};

Driver& driver() {
    static Driver d;
    return d;
}

template <class Fn>
Fn lookup(void* module, const char* name) {
    return reinterpret_cast<Fn>(qv::platform::librarySymbol(module, name));
}

// Runs one driver call; false when it threw.
template <class Call>
bool callDriver(Call call, int& result) {
    try {
        result = call();
        return true;
    } catch (...) {
        return false;
    }
}

}  // namespace

namespace qv::signal_tower {

int rememberedValue(int tower, int io) {
    if (tower < 1 || tower > kRememberedTowers || io < 1 || io > kOutputs) return INT_MIN;
    return driver().values[tower - 1][io - 1];
}

void resetState() {
    Driver& d = driver();
    d.release();
    d.towerCount = 0;
    std::fill(&d.values[0][0], &d.values[0][0] + kRememberedTowers * kOutputs, 0);
}

}  // namespace qv::signal_tower

extern "C" {

QV_API int QV_SignalTower_Init(void) {
    constexpr const char* kFn = "QV_SignalTower_Init";
    Driver& d = driver();
    d.release();  // a second initialisation loads the library afresh
    d.module = qv::platform::loadLibrary("slma");
    if (!d.module) return QV_FAIL(1, kErrDriver, __LINE__, "library \"slma.dll\" could not be loaded");

    d.setUsbDevice = lookup<SetUsbDeviceFn>(d.module, "SetUsbDevice");
    d.initIOStatus = lookup<InitIOStatusFn>(d.module, "InitIOStatus");
    d.setIOStatus = lookup<SetIOStatusFn>(d.module, "SetIOStatus");
    d.setSingleIO = lookup<SetSingleIOFn>(d.module, "SetSingleIO");
    if (!d.setUsbDevice || !d.initIOStatus) {
        d.release();
        return QV_FAIL(1, kErrDriver, __LINE__, "function \"SetUsbDevice\" not found in slma.dll library not found");
    }

    int count = 0;
    bool ok = callDriver([&] { return d.setUsbDevice(); }, count);
    d.towerCount = ok ? count : 0;
    const int towers = std::max(d.towerCount, kInitialisedTowers);
    // Counted in a wider type: a driver that reports INT_MAX towers must not wrap the counter.
    for (long long next = 1; ok && next <= towers; ++next) {
        const int tower = static_cast<int>(next);
        int ignored = 0;
        ok = callDriver([&] { return d.initIOStatus(tower, 1, 1, 1, 1, 1); }, ignored);
        // Values are remembered for towers 1 to 9 only; further towers are initialised but
        // have nothing to clear.
        if (tower <= kRememberedTowers) std::fill(d.values[tower - 1], d.values[tower - 1] + kOutputs, 0);
    }
    if (!ok) {
        d.release();
        d.towerCount = 0;
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "some internal error occured while trying to init the signal towers");
    }
    return 0;
}

QV_API int QV_SignalTower_Exit(void) {
    driver().release();
    return 0;
}

QV_API int QV_SignalTower_GetNumDevices(void) { return driver().towerCount; }

QV_API int QV_SignalTower_SetIO(int tower, int io, int value) {
    constexpr const char* kFn = "QV_SignalTower_SetIO";
    Driver& d = driver();
    if (tower > d.towerCount) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "%s", kNoTowerMsg);
    if (io < 1 || io > kOutputs) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "io id is invalid, must be in [1..5]");
    if (tower < 1 || tower > kRememberedTowers) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "device id is invalid");
    if (!d.setSingleIO) return QV_FAIL(1, kErrDriver, __LINE__, "%s", kNoSetSingleIOMsg);

    int result = 0;
    if (!callDriver([&] { return d.setSingleIO(tower, io, value); }, result))
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "%s", kInternalErrorMsg);
    d.values[tower - 1][io - 1] = value;  // remembered whatever the driver answered
    if (result != 1)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__,
                       "some internal error occured (%d) while trying to set io #%d of signal tower %d", result, io,
                       tower);
    return 0;
}

QV_API int QV_SignalTower_SetIOS(int tower, int a, int b, int c) {
    constexpr const char* kFn = "QV_SignalTower_SetIOS";
    Driver& d = driver();
    if (tower > d.towerCount) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "%s", kNoTowerMsg);
    if (!d.module)
        return QV_FAIL(1, kErrDriver, __LINE__, "library \"slma.dll\" was not loaded, call QV_SignalTower_Init()");
    // The message names the other setter; it is the text callers already match on.
    if (!d.setIOStatus) return QV_FAIL(1, kErrDriver, __LINE__, "%s", kNoSetSingleIOMsg);

    int result = 0;
    if (!callDriver([&] { return d.setIOStatus(tower, a, b, c); }, result))
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "%s", kInternalErrorMsg);
    if (result != 0)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__,
                       "some internal error occured (%d) while trying to set ios of signal tower %d", result, tower);
    return 0;
}

QV_API int QV_SignalTower_SetAllIOs(int value) {
    const int towers = driver().towerCount;
    for (long long tower = 1; tower <= towers; ++tower)  // wider, so that INT_MAX towers end
        for (int io = 1; io <= kOutputs; ++io) QV_SignalTower_SetIO(static_cast<int>(tower), io, value);
    return 0;
}

}  // extern "C"
