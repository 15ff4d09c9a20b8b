// The accounts in memory: the administrator at start-up, logging in, adding, key and level
// changes, removal, level names and the account list, with every refusal's line and code.
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "accounts/accounts_test.h"

namespace {

using accountstest::AccountTest;
using accountstest::kAdmin;
using accountstest::kAdminKey;
using accountstest::manager;
using accountstest::OwnManager;

TEST_F(AccountTest, AdministratorLogsInAndWrongKeysAreRefused) {
    EXPECT_EQ(QV_GetLevelForAccount(kAdmin, kAdminKey), 0);

    EXPECT_EQ(QV_GetLevelForAccount(kAdmin, "4hund8katzen"), -1);  // keys are case-sensitive
    EXPECT_LAST_FAILURE(1, -1002, "QV_AccountManager::getAccount(198): Account-Key is invalid");

    EXPECT_EQ(QV_GetLevelForAccount("qv_admin", kAdminKey), -1);  // so are names
    EXPECT_LAST_FAILURE(1, -1001, "QV_AccountManager::AdminGetAccount(182): Account qv_admin not in account list");
}

TEST_F(AccountTest, AddNewAccountCountsAndRefusesInOrder) {
    EXPECT_EQ(QV_AddNewAccount("Bob", 5, "pw"), 2);
    EXPECT_EQ(QV_AddNewAccount("bob", 6, "pw2"), 3);  // another name: compared byte by byte
    EXPECT_EQ(QV_GetLevelForAccount("Bob", "pw"), 5);
    EXPECT_EQ(QV_GetLevelForAccount("bob", "pw2"), 6);

    // The empty name is tested first, even when the key is empty too.
    EXPECT_EQ(QV_AddNewAccount("", 1, ""), -1001);
    EXPECT_LAST_FAILURE(1, -1001, "QV_AccountManager::addNewAccount(263): account with an empty name is not allowed");
    EXPECT_EQ(QV_AddNewAccount("Carl", 1, ""), -1002);
    EXPECT_LAST_FAILURE(1, -1002, "QV_AccountManager::addNewAccount(268): an empty key is not allowed");
    // For a name already taken, an empty key is still the reason given.
    EXPECT_EQ(QV_AddNewAccount("Bob", 1, ""), -1002);
    EXPECT_EQ(QV_AddNewAccount("Bob", 1, "other"), -1003);
    EXPECT_LAST_FAILURE(1, -1003, "QV_AccountManager::addNewAccount(276): account with specified name Bob already exists");
    EXPECT_EQ(QV_GetLevelForAccount("Bob", "pw"), 5);  // the first account stays as it was

    // The C level is an int; the account keeps its bits as an unsigned level.
    EXPECT_EQ(QV_AddNewAccount("Max", -1, "k"), 4);
    EXPECT_EQ(manager()->getAccount("Max", "k")->level, 4294967295u);
}

TEST_F(AccountTest, KeyAndLevelChanges) {
    ASSERT_EQ(QV_AddNewAccount("Bob", 2, "old"), 2);

    EXPECT_EQ(QV_ChangeAccountKey("Nobody", "old", "new"), -1001);
    EXPECT_LAST_FAILURE(1, -1001, "QV_AccountManager::AdminGetAccount(182): Account Nobody not in account list");
    EXPECT_EQ(QV_ChangeAccountKey("Bob", "wrong", "new"), -1002);
    EXPECT_LAST_FAILURE(1, -1002, "QV_AccountManager::getAccount(198): Account-Key is invalid");
    EXPECT_EQ(QV_ChangeAccountKey("Bob", "old", "old"), -1002);
    EXPECT_LAST_FAILURE(1, -1002, "QV_AccountManager::setNewAccountKey(293): new key is the same as the old key");

    qvtest::clear();
    EXPECT_EQ(QV_ChangeAccountKey("Bob", "old", "new"), 0);
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(QV_GetLevelForAccount("Bob", "old"), -1);
    EXPECT_EQ(QV_GetLevelForAccount("Bob", "new"), 2);

    // An empty new key is taken here, although a new account could not have one.
    EXPECT_EQ(QV_ChangeAccountKey("Bob", "new", ""), 0);
    EXPECT_EQ(QV_GetLevelForAccount("Bob", ""), 2);

    // The level: the account's own key is the only right asked for; 0 also means "refused".
    EXPECT_EQ(manager()->setLevelForAccount("Bob", "", 7), 7);
    EXPECT_EQ(manager()->setLevelForAccount("Bob", "bad", 1), 0);
    EXPECT_EQ(QV_GetLevelForAccount("Bob", ""), 7);
}

TEST_F(AccountTest, DeleteWithAndWithoutKey) {
    ASSERT_EQ(QV_AddNewAccount("Bob", 1, "pw"), 2);
    ASSERT_EQ(QV_AddNewAccount("Eve", 1, "pw"), 3);

    EXPECT_EQ(manager()->deleteAccount("Nobody", "pw"), -1001);
    EXPECT_LAST_FAILURE(1, -1001, "QV_AccountManager::deleteAccount(334): Account Nobody not in list");
    EXPECT_EQ(manager()->deleteAccount("Bob", "PW"), -1002);
    EXPECT_LAST_FAILURE(1, -1002, "QV_AccountManager::deleteAccount(327): Account key is invalid");
    EXPECT_EQ(manager()->deleteAccount("Bob", "pw"), 0);
    EXPECT_EQ(QV_GetLevelForAccount("Bob", "pw"), -1);
    EXPECT_EQ(QV_GetLastError(), -1001);

    EXPECT_EQ(QV_DeleteAccount("Nobody"), -1001);
    EXPECT_LAST_FAILURE(1, -1001, "QV_AccountManager::adminDeleteAccount(356): Account Nobody not in list");
    EXPECT_EQ(QV_DeleteAccount("Eve"), 0);
    // The administrator is not protected; clearAccounts(true) brings it back.
    EXPECT_EQ(QV_DeleteAccount(kAdmin), 0);
    EXPECT_TRUE(manager()->adminGetAccountList().empty());
    EXPECT_EQ(manager()->clearAccounts(true), 0);
    EXPECT_EQ(QV_GetLevelForAccount(kAdmin, kAdminKey), 0);
}

TEST_F(AccountTest, DeleteRefusesAnEntryWithoutAccount) {
    OwnManager own;
    own.m_accounts["ghost"] = nullptr;
    EXPECT_EQ(own.deleteAccount("ghost", "x"), -2);
    EXPECT_LAST_FAILURE(1, -2, "QV_AccountManager::deleteAccount(330): QV_UserAccount is NULL");
    EXPECT_EQ(own.m_accounts.count("ghost"), 1u);
    EXPECT_EQ(own.adminDeleteAccount("ghost"), 0);  // without a key test the entry goes
    EXPECT_EQ(own.m_accounts.count("ghost"), 0u);
}

TEST_F(AccountTest, RemovedAccountsReadBlankThroughOldPointers) {
    ASSERT_EQ(QV_AddNewAccount("Bob", 4, "pw"), 2);
    const std::map<std::string, QV_UserAccount*> before = manager()->adminGetAccountList();
    QV_UserAccount* bob = before.at("Bob");
    QV_UserAccount* admin = before.at(kAdmin);

    // The list is a copy of the map, the accounts are shared.
    bob->level = 8;
    EXPECT_EQ(QV_GetLevelForAccount("Bob", "pw"), 8);

    ASSERT_EQ(QV_DeleteAccount("Bob"), 0);
    EXPECT_EQ(before.size(), 2u);
    EXPECT_EQ(bob->name, "");
    EXPECT_EQ(bob->key, "");
    manager()->clearAccounts(true);
    EXPECT_EQ(admin->name, "");
    EXPECT_EQ(admin->key, "");
    EXPECT_NE(manager()->adminGetAccountList().at(kAdmin), admin);  // a new administrator

    manager()->clearAccounts(false);
    EXPECT_TRUE(manager()->adminGetAccountList().empty());
    EXPECT_EQ(QV_GetLevelForAccount(kAdmin, kAdminKey), -1);
}

TEST_F(AccountTest, NullArgumentsAreRefused) {
    struct Case {
        int result;
        const char* function;
        const char* message;
    };
    const std::vector<Case> cases = {
        {QV_AddNewAccount(nullptr, 1, "k"), "QV_AddNewAccount", "account name or key is NULL"},
        {QV_AddNewAccount("n", 1, nullptr), "QV_AddNewAccount", "account name or key is NULL"},
        {QV_DeleteAccount(nullptr), "QV_DeleteAccount", "account name or key is NULL"},
        {QV_ChangeAccountKey(nullptr, "a", "b"), "QV_ChangeAccountKey", "account name or old or new key is NULL"},
        {QV_ChangeAccountKey("n", nullptr, "b"), "QV_ChangeAccountKey", "account name or old or new key is NULL"},
        {QV_ChangeAccountKey("n", "a", nullptr), "QV_ChangeAccountKey", "account name or old or new key is NULL"},
        {QV_GetLevelForAccount(nullptr, "k"), "QV_GetLevelForAccount", "account name or key is NULL"},
        {QV_GetLevelForAccount("n", nullptr), "QV_GetLevelForAccount", "account name or key is NULL"},
        {QV_SaveAccounts(nullptr), "QV_SaveAccounts", "filePath is NULL"},
        {QV_LoadAccounts(nullptr), "QV_LoadAccounts", "filePath is NULL"},
        {QV_LoadAccountLevelNames(nullptr), "QV_LoadAccountLevelNames", "filePath is NULL"},
        {QV_GetAccountLevelName(0, nullptr), "QV_GetAccountLevelName", "output argument is NULL"},
        {QV_GetAllAccounts(nullptr), "QV_GetAllAccounts", "account list argument is NULL"},
    };
    // Each call logged one line; check them in order.
    ASSERT_EQ(count(), cases.size());
    for (std::size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE(cases[i].function);
        EXPECT_EQ(cases[i].result, -2);
        EXPECT_EQ(logs()[i].code, -2);
        EXPECT_EQ(logs()[i].level, 1);
        const std::string body = withoutTime(logs()[i].line);
        EXPECT_EQ(body.rfind(std::string(cases[i].function) + "(", 0), 0u) << body;
        EXPECT_EQ(body.substr(body.find("): ") + 3), cases[i].message);
    }
    EXPECT_EQ(manager()->adminGetAccountList().size(), 1u);
}

TEST_F(AccountTest, LevelNamesAreStoredReplacedAndCopied) {
    OwnManager own;
    EXPECT_EQ(own.setAccountLevelName(3, "Operator"), 1);
    EXPECT_EQ(own.getAccountLevelName(2), "");
    EXPECT_EQ(own.setAccountLevelName(3, "Worker"), 1);  // replaced; asking for 2 added nothing
    EXPECT_EQ(own.getAccountLevelName(3), "Worker");

    // The C function reads the library's manager; levels without a name give -5 silently.
    char out[64] = "unchanged";
    manager()->setAccountLevelName(70001, "Inspector");
    manager()->setAccountLevelName(70002, "");
    qvtest::clear();
    const int lastError = QV_GetLastError();
    EXPECT_EQ(QV_GetAccountLevelName(70000, out), -5);
    EXPECT_EQ(QV_GetAccountLevelName(70002, out), -5);
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(QV_GetLastError(), lastError);
    EXPECT_STREQ(out, "unchanged");
    EXPECT_EQ(QV_GetAccountLevelName(70001, out), 0);
    EXPECT_STREQ(out, "Inspector");
    manager()->setAccountLevelName(70001, "");
}

// Frees the entries that QV_GetAllAccounts handed over, then the array.
void releaseList(QVArray* list) { ReleaseArray(list, 1); }

const QV_AccountListEntry* entryAt(QVArray* list, int index) {
    return static_cast<const QV_AccountListEntry*>(GetValue(list, index));
}

TEST_F(AccountTest, AllAccountsListsEveryAccountInNameOrder) {
    QVArray* list = CreateArray(eUserData, 0, 0);
    ASSERT_NE(list, nullptr);
    ASSERT_EQ(list->inlineValues, 0);

    // Fresh: the administrator alone, with the name of level 0 when one is set.
    manager()->setAccountLevelName(0, "Administrator");
    EXPECT_EQ(QV_GetAllAccounts(list), 0);
    ASSERT_EQ(list->count, 1);
    const QV_AccountListEntry* admin = entryAt(list, 0);
    EXPECT_STREQ(admin->name, kAdmin);
    EXPECT_STREQ(admin->key, kAdminKey);
    EXPECT_STREQ(admin->levelName, "Administrator");
    EXPECT_EQ(admin->level, 0u);
    manager()->setAccountLevelName(0, "");

    // More accounts are appended after what the array holds, sorted by name, bytes compared.
    ASSERT_EQ(QV_AddNewAccount("zed", 12, "z"), 2);
    ASSERT_EQ(QV_AddNewAccount("Bob", 3, "b"), 3);
    const std::string longKey(700, 'k');
    ASSERT_EQ(QV_AddNewAccount("Ann", 1, longKey.c_str()), 4);
    EXPECT_EQ(QV_GetAllAccounts(list), 0);
    ASSERT_EQ(list->count, 5);
    const char* expected[] = {kAdmin, "Ann", "Bob", kAdmin, "zed"};
    for (int i = 0; i < 5; ++i) EXPECT_STREQ(entryAt(list, i)->name, expected[i]) << i;
    EXPECT_EQ(entryAt(list, 4)->level, 12u);
    EXPECT_EQ(std::strlen(entryAt(list, 1)->key), 511u);  // cut to its field
    releaseList(list);

    QVArray* values = CreateArray(eInt, 0, 0);
    EXPECT_EQ(QV_GetAllAccounts(values), -5);
    EXPECT_FAILED(1, -5, "QV_GetAllAccounts", "account list is not an array of pointers");
    EXPECT_EQ(values->count, 0);
    ReleaseArray(values, 0);
}

}  // namespace
