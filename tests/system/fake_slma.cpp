// A stand-in for the signal-tower driver library, for the tests. It exports the driver's
// functions (each can be left out at build time with FAKE_SLMA_WITHOUT_<name>), records every
// call as text, and offers control functions through which a test sets the number of towers,
// the setters' results and which functions throw.
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#define FAKE_API extern "C" __attribute__((visibility("default")))

namespace {

struct State {
    int towers = 2;
    int singleResult = 1;
    int statusResult = 0;
    int throwMask = 0;
    std::vector<std::string> calls;
};

State& state() {
    static State s;
    return s;
}

// Records `text` and throws when `bit` is set in the throw mask.
void record(const char* format, int bit, int a = 0, int b = 0, int c = 0, int d = 0, int e = 0, int f = 0) {
    char text[128];
    std::snprintf(text, sizeof text, format, a, b, c, d, e, f);
    state().calls.emplace_back(text);
    if (state().throwMask & bit) throw std::runtime_error(text);
}

}  // namespace

#ifndef FAKE_SLMA_WITHOUT_SetUsbDevice
FAKE_API int SetUsbDevice() {
    record("SetUsbDevice()", 1);
    return state().towers;
}
#endif

#ifndef FAKE_SLMA_WITHOUT_InitIOStatus
FAKE_API int InitIOStatus(int tower, int a, int b, int c, int d, int e) {
    record("InitIOStatus(%d,%d,%d,%d,%d,%d)", 2, tower, a, b, c, d, e);
    return 12345;  // not read by the library
}
#endif

#ifndef FAKE_SLMA_WITHOUT_SetIOStatus
FAKE_API int SetIOStatus(int tower, int a, int b, int c) {
    record("SetIOStatus(%d,%d,%d,%d)", 4, tower, a, b, c);
    return state().statusResult;
}
#endif

#ifndef FAKE_SLMA_WITHOUT_SetSingleIO
FAKE_API int SetSingleIO(int tower, int io, int value) {
    record("SetSingleIO(%d,%d,%d)", 8, tower, io, value);
    return state().singleResult;
}
#endif

// Sets the behaviour and clears the record. throwMask: 1 SetUsbDevice, 2 InitIOStatus,
// 4 SetIOStatus, 8 SetSingleIO.
FAKE_API void FakeSlma_Configure(int towers, int singleResult, int statusResult, int throwMask) {
    State& s = state();
    s.towers = towers;
    s.singleResult = singleResult;
    s.statusResult = statusResult;
    s.throwMask = throwMask;
    s.calls.clear();
}

FAKE_API int FakeSlma_CallCount() { return static_cast<int>(state().calls.size()); }

// The recorded call `index` as text, e.g. "SetSingleIO(2,3,7)"; "" when out of range.
FAKE_API const char* FakeSlma_Call(int index) {
    const auto& calls = state().calls;
    return index >= 0 && index < static_cast<int>(calls.size()) ? calls[index].c_str() : "";
}
