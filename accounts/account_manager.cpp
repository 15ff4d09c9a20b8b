// The account manager's accounts and level names in memory: the one instance, adding, key
// tests, key and level changes, removal and the level-name table.
#include "accounts/accounts_internal.h"
#include "logging/frame.h"

namespace {

// Built when the library is loaded, so that the administrator account exists before any call.
[[maybe_unused]] const QV_AccountManager* const g_buildAtLoad = QV_AccountManager::getAccountManager();

// Blanks a removed account's name and key and keeps it in `retired`, where it stays readable
// for whoever still holds its pointer until the manager is destroyed.
void retire(std::vector<QV_UserAccount*>& retired, QV_UserAccount* account) {
    if (!account) return;
    account->name.clear();
    account->key.clear();
    retired.push_back(account);
}

}  // namespace

QV_AccountManager* QV_AccountManager::getAccountManager() {
    static QV_AccountManager m_instance;
    return &m_instance;
}

QV_AccountManager::QV_AccountManager() { clearAccounts(true); }

QV_AccountManager::~QV_AccountManager() {
    clearAccounts(false);
    for (QV_UserAccount* account : m_retired) delete account;
}

int QV_AccountManager::clearAccounts(bool addAdmin) {
    for (auto& entry : m_accounts) retire(m_retired, entry.second);
    m_accounts.clear();
    if (addAdmin)
        m_accounts[qv::accounts::kAdminName] =
            new QV_UserAccount{qv::accounts::kAdminName, 0, qv::accounts::kAdminKey};
    return 0;
}

int QV_AccountManager::addNewAccount(std::string name, unsigned int level, std::string key) {
    constexpr const char* kFn = "QV_AccountManager::addNewAccount";
    if (name.empty())
        return QV_FAIL(1, QV_ERR_ACCOUNT_NAME, 263, "account with an empty name is not allowed");
    if (key.empty()) return QV_FAIL(1, QV_ERR_ACCOUNT_KEY, 268, "an empty key is not allowed");
    if (m_accounts.count(name))
        return QV_FAIL(1, QV_ERR_ACCOUNT_EXISTS, 276, "account with specified name %s already exists",
                       name.c_str());
    m_accounts[name] = new QV_UserAccount{name, level, key};
    return static_cast<int>(m_accounts.size());
}

QV_UserAccount* QV_AccountManager::AdminGetAccount(std::string name) {
    constexpr const char* kFn = "QV_AccountManager::AdminGetAccount";
    const auto found = m_accounts.find(name);
    if (found == m_accounts.end())
        return QV_FAIL_NULL(1, QV_ERR_ACCOUNT_NAME, 182, "Account %s not in account list", name.c_str());
    return found->second;
}

QV_UserAccount* QV_AccountManager::getAccount(std::string name, std::string key) {
    constexpr const char* kFn = "QV_AccountManager::getAccount";
    QV_UserAccount* account = AdminGetAccount(name);
    if (!account) return nullptr;
    if (account->key != key) return QV_FAIL_NULL(1, QV_ERR_ACCOUNT_KEY, 198, "Account-Key is invalid");
    return account;
}

int QV_AccountManager::getLevelForAccount(std::string name, std::string key) {
    const QV_UserAccount* account = getAccount(name, key);
    return account ? static_cast<int>(account->level) : -1;
}

int QV_AccountManager::setLevelForAccount(std::string name, std::string key, unsigned int level) {
    // Any account may change its own level: the key is the only right asked for.
    QV_UserAccount* account = getAccount(name, key);
    if (!account) return 0;
    account->level = level;
    return static_cast<int>(level);
}

int QV_AccountManager::setNewAccountKey(std::string name, std::string oldKey, std::string newKey) {
    constexpr const char* kFn = "QV_AccountManager::setNewAccountKey";
    QV_UserAccount* account = getAccount(name, oldKey);
    // getAccount has just logged why: -1001 or -1002.
    if (!account) return QV_GetLastError();
    if (account->key == newKey)
        return QV_FAIL(1, QV_ERR_ACCOUNT_KEY, 293, "new key is the same as the old key");
    account->key = newKey;
    return 0;
}

int QV_AccountManager::deleteAccount(std::string name, std::string key) {
    constexpr const char* kFn = "QV_AccountManager::deleteAccount";
    const auto found = m_accounts.find(name);
    if (found == m_accounts.end())
        return QV_FAIL(1, QV_ERR_ACCOUNT_NAME, 334, "Account %s not in list", name.c_str());
    if (!found->second) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, 330, "QV_UserAccount is NULL");
    if (found->second->key != key) return QV_FAIL(1, QV_ERR_ACCOUNT_KEY, 327, "Account key is invalid");
    retire(m_retired, found->second);
    m_accounts.erase(found);
    return 0;
}

int QV_AccountManager::adminDeleteAccount(std::string name) {
    constexpr const char* kFn = "QV_AccountManager::adminDeleteAccount";
    const auto found = m_accounts.find(name);
    if (found == m_accounts.end())
        return QV_FAIL(1, QV_ERR_ACCOUNT_NAME, 356, "Account %s not in list", name.c_str());
    retire(m_retired, found->second);
    m_accounts.erase(found);
    return 0;
}

std::string QV_AccountManager::getAccountLevelName(unsigned int level) {
    const auto found = m_levelNames.find(level);
    return found == m_levelNames.end() ? std::string() : found->second;
}

int QV_AccountManager::setAccountLevelName(unsigned int level, std::string name) {
    m_levelNames[level] = name;
    return static_cast<int>(m_levelNames.size());
}

std::map<std::string, QV_UserAccount*> QV_AccountManager::adminGetAccountList() { return m_accounts; }
