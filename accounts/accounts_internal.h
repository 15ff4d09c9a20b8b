// Private names of the accounts folder: the built-in administrator account and the names of
// the account file's tree.
#pragma once

#include "qvtools/accounts.h"

namespace qv::accounts {

// The administrator account that every start (and every clearAccounts(true)) puts in place.
constexpr const char* kAdminName = "QV_ADMIN";
constexpr const char* kAdminKey = "4Hund8Katzen";

// The account file: a tree whose root is kRootName, one child per account named after it, with
// the key as string property kKeyId and the level as 32-bit integer property kLevelId.
constexpr const char* kRootName = "QV_Accounts";
constexpr const char* kKeyName = "key";
constexpr const char* kLevelName = "level";
constexpr int kKeyId = 1;
constexpr int kLevelId = 2;

}  // namespace qv::accounts
