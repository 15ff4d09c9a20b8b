// The plain C exports of the account manager: each checks its arguments and forwards to the one
// manager.
#include <cstdlib>
#include <cstring>

#include "accounts/accounts_internal.h"
#include "logging/frame.h"

namespace {

static_assert(sizeof(QV_AccountListEntry) == 1540, "the account-list record is 1540 bytes");

QV_AccountManager& manager() { return *QV_AccountManager::getAccountManager(); }

// Copies `text` into a fixed field of N bytes, cut to N - 1 characters.
template <std::size_t N>
void copyField(char (&field)[N], const std::string& text) {
    const std::size_t n = text.size() < N - 1 ? text.size() : N - 1;
    std::memcpy(field, text.data(), n);
    field[n] = '\0';
}

}  // namespace

QV_API int QV_AddNewAccount(const char* name, int level, const char* key) {
    constexpr const char* kFn = "QV_AddNewAccount";
    if (!name || !key) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "account name or key is NULL");
    return manager().addNewAccount(name, static_cast<unsigned int>(level), key);
}

QV_API int QV_DeleteAccount(const char* name) {
    constexpr const char* kFn = "QV_DeleteAccount";
    QV_CHECK_NULL(name, __LINE__, "account name or key is NULL");
    return manager().adminDeleteAccount(name);
}

QV_API int QV_ChangeAccountKey(const char* name, const char* oldKey, const char* newKey) {
    constexpr const char* kFn = "QV_ChangeAccountKey";
    if (!name || !oldKey || !newKey)
        return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "account name or old or new key is NULL");
    return manager().setNewAccountKey(name, oldKey, newKey);
}

QV_API int QV_GetLevelForAccount(const char* name, const char* key) {
    constexpr const char* kFn = "QV_GetLevelForAccount";
    if (!name || !key) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "account name or key is NULL");
    return manager().getLevelForAccount(name, key);
}

QV_API int QV_SaveAccounts(const char* filePath) {
    constexpr const char* kFn = "QV_SaveAccounts";
    QV_CHECK_NULL(filePath, __LINE__, "filePath is NULL");
    return manager().saveAccountSettings(filePath, true);
}

QV_API int QV_LoadAccounts(const char* filePath) {
    constexpr const char* kFn = "QV_LoadAccounts";
    QV_CHECK_NULL(filePath, __LINE__, "filePath is NULL");
    return manager().loadAccountSettings(filePath, true);
}

QV_API int QV_LoadAccountLevelNames(const char* filePath) {
    constexpr const char* kFn = "QV_LoadAccountLevelNames";
    QV_CHECK_NULL(filePath, __LINE__, "filePath is NULL");
    return manager().loadAccountLevelNames(filePath);
}

QV_API int QV_GetAccountLevelName(unsigned int level, char* out) {
    constexpr const char* kFn = "QV_GetAccountLevelName";
    QV_CHECK_NULL(out, __LINE__, "output argument is NULL");
    const std::string name = manager().getAccountLevelName(level);
    if (name.empty()) return QV_ERR_ARGUMENT;
    std::strcpy(out, name.c_str());
    return QV_OK;
}

QV_API int QV_GetAllAccounts(QVArray* accountList) {
    constexpr const char* kFn = "QV_GetAllAccounts";
    QV_CHECK_NULL(accountList, __LINE__, "account list argument is NULL");
    // Each entry is handed over as a pointer; an array of inline values would copy a few bytes
    // of it and lose the rest.
    if (accountList->inlineValues)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "account list is not an array of pointers");
    for (const auto& [name, account] : manager().adminGetAccountList()) {
        if (!account) continue;
        auto* entry = static_cast<QV_AccountListEntry*>(std::calloc(1, sizeof(QV_AccountListEntry)));
        if (!entry)
            return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "could not allocate %d bytes",
                           static_cast<int>(sizeof(QV_AccountListEntry)));
        copyField(entry->name, name);
        copyField(entry->key, account->key);
        copyField(entry->levelName, manager().getAccountLevelName(account->level));
        entry->level = account->level;
        if (const int rc = AppendValue(accountList, entry)) {
            std::free(entry);
            return rc;
        }
    }
    return QV_OK;
}
