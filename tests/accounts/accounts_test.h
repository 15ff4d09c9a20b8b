// Shared pieces of the account tests: a fixture that puts the library's manager back to its
// start-up state around each test, and a manager of the test's own for the protected parts.
#pragma once

#include <string>

#include "QV_Tools.h"
#include "support/log_capture.h"

namespace accountstest {

constexpr const char* kAdmin = "QV_ADMIN";
constexpr const char* kAdminKey = "4Hund8Katzen";

inline QV_AccountManager* manager() { return QV_AccountManager::getAccountManager(); }

// The library's manager with only the administrator account, before and after each test.
class AccountTest : public qvtest::LogTest {
protected:
    void SetUp() override {
        manager()->clearAccounts(true);
        qvtest::LogTest::SetUp();
    }
    void TearDown() override {
        manager()->clearAccounts(true);
        qvtest::LogTest::TearDown();
    }
};

// A manager of its own (level names included), with the protected parts opened for tests.
class OwnManager : public QV_AccountManager {
public:
    using QV_AccountManager::AdminGetAccount;
    using QV_AccountManager::m_accounts;
};

}  // namespace accountstest
