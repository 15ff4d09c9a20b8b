// Signal towers against fake driver libraries (tests/system/fake_slma.cpp): each variant lies
// in a folder of its own as libslma.so, and a test makes that folder the working directory,
// the last place the library looks. The test keeps its own reference to the fake, so the calls
// it recorded can be read after the library has released it.
#include <gtest/gtest.h>

#include <dlfcn.h>

#include <filesystem>
#include <string>
#include <vector>

#include "QV_Tools.h"
#include "support/log_capture.h"
#include "system/signal_tower_internal.h"

namespace {

namespace fs = std::filesystem;
using qv::signal_tower::rememberedValue;

constexpr const char* kNoTower =
    "cannot set device device id invalid or no device found call QV_SignalTower_Init() to init signal tower devices";
constexpr const char* kNoSetSingleIO = "function \"SetSingleIO\" not found in slma.dll library not found";
constexpr const char* kNoSetUsbDevice = "function \"SetUsbDevice\" not found in slma.dll library not found";
constexpr const char* kThrew = "some internal error occured while trying to set io of the signal tower";

// throwMask bits of FakeSlma_Configure.
enum { kThrowSetUsbDevice = 1, kThrowInitIOStatus = 2, kThrowSetIOStatus = 4, kThrowSetSingleIO = 8 };

class SignalTower : public qvtest::LogTest {
protected:
    void SetUp() override {
        LogTest::SetUp();
        qv::signal_tower::resetState();
        m_cwd = fs::current_path();
    }

    void TearDown() override {
        qv::signal_tower::resetState();
        fs::current_path(m_cwd);
        if (m_fake) dlclose(m_fake);
        LogTest::TearDown();
    }

    // Makes fake driver `variant` ("full" or the name of the function it lacks) the one the
    // library finds, with the given behaviour and an empty record.
    void useDriver(const std::string& variant, int towers = 2, int singleResult = 1, int statusResult = 0,
                   int throwMask = 0) {
        const fs::path dir = fs::path(QV_FAKE_SLMA_DIR) / variant;
        if (m_fake) dlclose(m_fake);
        m_fake = dlopen((dir / "libslma.so").c_str(), RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(m_fake, nullptr) << dlerror();
        m_configure = reinterpret_cast<void (*)(int, int, int, int)>(dlsym(m_fake, "FakeSlma_Configure"));
        m_count = reinterpret_cast<int (*)()>(dlsym(m_fake, "FakeSlma_CallCount"));
        m_call = reinterpret_cast<const char* (*)(int)>(dlsym(m_fake, "FakeSlma_Call"));
        ASSERT_TRUE(m_configure && m_count && m_call);
        configure(towers, singleResult, statusResult, throwMask);
        fs::current_path(dir);
    }

    // Changes the fake's behaviour and clears its record.
    void configure(int towers, int singleResult, int statusResult, int throwMask = 0) {
        m_configure(towers, singleResult, statusResult, throwMask);
    }

    // The driver calls recorded since the last configure(), oldest first.
    std::vector<std::string> calls() const {
        std::vector<std::string> out;
        for (int i = 0; i < m_count(); ++i) out.emplace_back(m_call(i));
        return out;
    }

    static std::vector<std::string> initCalls(int towers) {
        std::vector<std::string> out{"SetUsbDevice()"};
        for (int t = 1; t <= towers; ++t) out.push_back("InitIOStatus(" + std::to_string(t) + ",1,1,1,1,1)");
        return out;
    }

private:
    fs::path m_cwd;
    void* m_fake = nullptr;
    void (*m_configure)(int, int, int, int) = nullptr;
    int (*m_count)() = nullptr;
    const char* (*m_call)(int) = nullptr;
};

TEST_F(SignalTower, BeforeInitialisationEverySetterFails) {
    EXPECT_EQ(QV_SignalTower_GetNumDevices(), 0);
    EXPECT_EQ(QV_SignalTower_SetIO(1, 1, 1), -5);
    EXPECT_FAILED(1, -5, "QV_SignalTower_SetIO", kNoTower);
    EXPECT_EQ(QV_SignalTower_SetIO(0, 1, 1), -5);  // not beyond the count of 0, but no tower
    EXPECT_FAILED(1, -5, "QV_SignalTower_SetIO", "device id is invalid");
    EXPECT_EQ(QV_SignalTower_SetIO(0, 6, 1), -5);  // the output is checked before the tower
    EXPECT_FAILED(1, -5, "QV_SignalTower_SetIO", "io id is invalid, must be in [1..5]");
    EXPECT_EQ(QV_SignalTower_SetIOS(1, 0, 0, 0), -5);
    EXPECT_FAILED(1, -5, "QV_SignalTower_SetIOS", kNoTower);
    EXPECT_EQ(QV_SignalTower_SetIOS(0, 0, 0, 0), -11);
    EXPECT_FAILED(1, -11, "QV_SignalTower_SetIOS", "library \"slma.dll\" was not loaded, call QV_SignalTower_Init()");

    qvtest::clear();
    EXPECT_EQ(QV_SignalTower_SetAllIOs(1), 0);  // no tower, nothing to do
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(QV_SignalTower_Exit(), 0);
}

TEST_F(SignalTower, InitFailsWithoutDriverOrItsSetupFunctions) {
    fs::current_path(tempDir());
    EXPECT_EQ(QV_SignalTower_Init(), -11);
    EXPECT_FAILED(1, -11, "QV_SignalTower_Init", "library \"slma.dll\" could not be loaded");
    EXPECT_EQ(QV_SignalTower_GetNumDevices(), 0);

    // Either missing function gives the same text, names "SetUsbDevice", and nothing is called.
    for (const char* variant : {"SetUsbDevice", "InitIOStatus"}) {
        SCOPED_TRACE(variant);
        useDriver(variant, 3);
        EXPECT_EQ(QV_SignalTower_Init(), -11);
        EXPECT_FAILED(1, -11, "QV_SignalTower_Init", kNoSetUsbDevice);
        EXPECT_TRUE(calls().empty());
        EXPECT_EQ(QV_SignalTower_GetNumDevices(), 0);
        // The library was released and its handle forgotten.
        EXPECT_EQ(QV_SignalTower_SetIOS(0, 1, 2, 3), -11);
        EXPECT_FAILED(1, -11, "QV_SignalTower_SetIOS", "library \"slma.dll\" was not loaded, call QV_SignalTower_Init()");
    }
}

TEST_F(SignalTower, InitInitialisesAtLeastEightTowersAndClearsValues) {
    useDriver("full", 2);
    EXPECT_EQ(QV_SignalTower_Init(), 0);
    EXPECT_EQ(QV_SignalTower_GetNumDevices(), 2);
    EXPECT_EQ(calls(), initCalls(8));
    EXPECT_EQ(count(), 0u);  // success logs nothing

    EXPECT_EQ(QV_SignalTower_SetIO(2, 4, 9), 0);
    EXPECT_EQ(rememberedValue(2, 4), 9);

    // A second initialisation loads the driver again and clears what was remembered.
    configure(10, 1, 0);
    EXPECT_EQ(QV_SignalTower_Init(), 0);
    EXPECT_EQ(QV_SignalTower_GetNumDevices(), 10);
    EXPECT_EQ(calls(), initCalls(10));
    EXPECT_EQ(rememberedValue(2, 4), 0);

    // Towers beyond 9 are counted but cannot be set.
    EXPECT_EQ(QV_SignalTower_SetIO(10, 1, 1), -5);
    EXPECT_FAILED(1, -5, "QV_SignalTower_SetIO", "device id is invalid");

    // Only the towers that are initialised are cleared: with two found, towers 1 to 8.
    ASSERT_EQ(QV_SignalTower_SetIO(9, 1, 5), 0);
    ASSERT_EQ(QV_SignalTower_SetIO(8, 1, 4), 0);
    configure(2, 1, 0);
    EXPECT_EQ(QV_SignalTower_Init(), 0);
    EXPECT_EQ(rememberedValue(8, 1), 0);
    EXPECT_EQ(rememberedValue(9, 1), 5);
}

TEST_F(SignalTower, SetIOChecksInOrderThenCallsTheDriver) {
    useDriver("full", 2);
    ASSERT_EQ(QV_SignalTower_Init(), 0);
    configure(2, 1, 0);

    EXPECT_EQ(QV_SignalTower_SetIO(1, 6, 1), -5);
    EXPECT_FAILED(1, -5, "QV_SignalTower_SetIO", "io id is invalid, must be in [1..5]");
    EXPECT_EQ(QV_SignalTower_SetIO(3, 6, 1), -5);  // the count is checked first
    EXPECT_FAILED(1, -5, "QV_SignalTower_SetIO", kNoTower);
    EXPECT_EQ(QV_SignalTower_SetIO(1, 0, 1), -5);
    EXPECT_FAILED(1, -5, "QV_SignalTower_SetIO", "io id is invalid, must be in [1..5]");
    EXPECT_EQ(QV_SignalTower_SetIO(-1, 1, 1), -5);
    EXPECT_FAILED(1, -5, "QV_SignalTower_SetIO", "device id is invalid");
    EXPECT_TRUE(calls().empty());

    qvtest::clear();
    EXPECT_EQ(QV_SignalTower_SetIO(2, 5, 7), 0);
    EXPECT_EQ(QV_SignalTower_SetIO(1, 1, -3), 0);
    EXPECT_EQ(calls(), (std::vector<std::string>{"SetSingleIO(2,5,7)", "SetSingleIO(1,1,-3)"}));
    EXPECT_EQ(rememberedValue(2, 5), 7);
    EXPECT_EQ(rememberedValue(1, 1), -3);
    EXPECT_EQ(count(), 0u);
}

TEST_F(SignalTower, SetIOTreatsEveryDriverResultButOneAsFailure) {
    useDriver("full", 2);
    ASSERT_EQ(QV_SignalTower_Init(), 0);

    for (int result : {0, 2, -4}) {
        configure(2, result, 0);
        EXPECT_EQ(QV_SignalTower_SetIO(2, 3, 10 + result), -5);
        EXPECT_FAILED(1, -5, "QV_SignalTower_SetIO",
                      "some internal error occured (" + std::to_string(result) +
                          ") while trying to set io #3 of signal tower 2");
        EXPECT_EQ(rememberedValue(2, 3), 10 + result);  // remembered all the same
    }

    // A driver that throws: the value is not remembered.
    configure(2, 1, 0, kThrowSetSingleIO);
    EXPECT_EQ(QV_SignalTower_SetIO(1, 2, 8), -5);
    EXPECT_FAILED(1, -5, "QV_SignalTower_SetIO", kThrew);
    EXPECT_EQ(calls(), std::vector<std::string>{"SetSingleIO(1,2,8)"});
    EXPECT_EQ(rememberedValue(1, 2), 0);
}

TEST_F(SignalTower, SetIOSPassesValuesThroughAndTakesZeroAsSuccess) {
    useDriver("full", 3);
    ASSERT_EQ(QV_SignalTower_Init(), 0);
    ASSERT_EQ(QV_SignalTower_SetIO(3, 1, 5), 0);
    configure(3, 1, 0);

    qvtest::clear();
    EXPECT_EQ(QV_SignalTower_SetIOS(3, 17, -2, 255), 0);
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(QV_SignalTower_SetIOS(0, 1, 2, 3), 0);  // only the count limits the tower
    EXPECT_EQ(calls(), (std::vector<std::string>{"SetIOStatus(3,17,-2,255)", "SetIOStatus(0,1,2,3)"}));

    configure(3, 1, 1);
    EXPECT_EQ(QV_SignalTower_SetIOS(2, 0, 0, 0), -5);
    EXPECT_FAILED(1, -5, "QV_SignalTower_SetIOS", "some internal error occured (1) while trying to set ios of signal tower 2");
    EXPECT_EQ(QV_SignalTower_SetIOS(4, 0, 0, 0), -5);
    EXPECT_FAILED(1, -5, "QV_SignalTower_SetIOS", kNoTower);

    configure(3, 1, 0, kThrowSetIOStatus);
    EXPECT_EQ(QV_SignalTower_SetIOS(1, 0, 0, 0), -5);
    EXPECT_FAILED(1, -5, "QV_SignalTower_SetIOS", kThrew);
    EXPECT_EQ(rememberedValue(3, 1), 5);  // SetIOS leaves the remembered values alone
}

TEST_F(SignalTower, MissingSetterIsReportedWhenUsed) {
    useDriver("SetSingleIO", 2);
    ASSERT_EQ(QV_SignalTower_Init(), 0);
    EXPECT_EQ(QV_SignalTower_SetIO(1, 1, 1), -11);
    EXPECT_FAILED(1, -11, "QV_SignalTower_SetIO", kNoSetSingleIO);
    EXPECT_EQ(QV_SignalTower_SetIOS(1, 1, 1, 1), 0);

    // Without "SetIOStatus" the message still names "SetSingleIO".
    useDriver("SetIOStatus", 2);
    ASSERT_EQ(QV_SignalTower_Init(), 0);
    EXPECT_EQ(QV_SignalTower_SetIOS(1, 1, 1, 1), -11);
    EXPECT_FAILED(1, -11, "QV_SignalTower_SetIOS", kNoSetSingleIO);
    EXPECT_EQ(QV_SignalTower_SetIO(1, 1, 1), 0);
}

TEST_F(SignalTower, SetAllIOsSetsEveryOutputAndIgnoresFailures) {
    useDriver("full", 2);
    ASSERT_EQ(QV_SignalTower_Init(), 0);
    configure(2, 0, 0);  // every SetSingleIO fails

    qvtest::clear();
    EXPECT_EQ(QV_SignalTower_SetAllIOs(6), 0);
    std::vector<std::string> expected;
    for (int t = 1; t <= 2; ++t)
        for (int io = 1; io <= 5; ++io)
            expected.push_back("SetSingleIO(" + std::to_string(t) + "," + std::to_string(io) + ",6)");
    EXPECT_EQ(calls(), expected);
    EXPECT_EQ(linesContaining("QV_SignalTower_SetIO(").size(), 10u);
    EXPECT_FAILED(1, -5, "QV_SignalTower_SetIO", "some internal error occured (0) while trying to set io #5 of signal tower 2");
    EXPECT_EQ(rememberedValue(2, 5), 6);
    EXPECT_EQ(rememberedValue(3, 1), 0);
}

TEST_F(SignalTower, ExitReleasesTheDriverAndKeepsTheCount) {
    useDriver("full", 2);
    ASSERT_EQ(QV_SignalTower_Init(), 0);
    EXPECT_EQ(QV_SignalTower_Exit(), 0);
    EXPECT_EQ(QV_SignalTower_GetNumDevices(), 2);
    configure(2, 1, 0);

    // Nothing reaches the released driver.
    EXPECT_EQ(QV_SignalTower_SetIO(1, 1, 1), -11);
    EXPECT_FAILED(1, -11, "QV_SignalTower_SetIO", kNoSetSingleIO);
    EXPECT_EQ(QV_SignalTower_SetIOS(1, 1, 1, 1), -11);
    EXPECT_FAILED(1, -11, "QV_SignalTower_SetIOS", "library \"slma.dll\" was not loaded, call QV_SignalTower_Init()");
    EXPECT_EQ(QV_SignalTower_Exit(), 0);
    EXPECT_TRUE(calls().empty());

    // Initialising again makes the towers usable.
    ASSERT_EQ(QV_SignalTower_Init(), 0);
    EXPECT_EQ(QV_SignalTower_SetIO(1, 1, 1), 0);
    EXPECT_EQ(calls().back(), "SetSingleIO(1,1,1)");
}

TEST_F(SignalTower, DriverExceptionDuringInitLeavesNoTower) {
    for (int mask : {kThrowSetUsbDevice, kThrowInitIOStatus}) {
        SCOPED_TRACE(mask);
        useDriver("full", 2, 1, 0, mask);
        EXPECT_EQ(QV_SignalTower_Init(), -5);
        EXPECT_FAILED(1, -5, "QV_SignalTower_Init", "some internal error occured while trying to init the signal towers");
        EXPECT_EQ(QV_SignalTower_GetNumDevices(), 0);
        EXPECT_EQ(QV_SignalTower_SetIOS(0, 0, 0, 0), -11);
    }
}

}  // namespace
