/* QV_Tools accounts family: user accounts.
 *
 * The account manager keeps the host application's user accounts: a name, a key (password) and
 * a numeric access level each, plus optional display names for the levels. A host logs a user
 * in by asking for the level of a name and key. The built-in administrator account ("QV_ADMIN",
 * level 0) exists from the moment the library is loaded. Accounts are saved to and loaded from
 * an XML file written through the property tree (root node "QV_Accounts", one child per account
 * with the properties 1 "key" and 2 "level"); level names live in a text file of lines
 * "<level>,<name>". Nothing is saved automatically, and nothing is locked: one thread at a time. */
#ifndef QVTOOLS_ACCOUNTS_H
#define QVTOOLS_ACCOUNTS_H

#include "qvtools/data.h"
#include "qvtools/export.h"

/* Codes of the account manager, besides those of logging.h. */
#define QV_ERR_ACCOUNT_NAME   -1001  /* unknown or empty account name */
#define QV_ERR_ACCOUNT_KEY    -1002  /* wrong or empty key, or a new key equal to the old one */
#define QV_ERR_ACCOUNT_EXISTS -1003  /* account name already used */
#define QV_ERR_ACCOUNT_FILE   -1004  /* a file that cannot be opened, read or parsed */

/* One entry of the list QV_GetAllAccounts hands out: 1540 bytes, allocated with calloc and
 * freed by the caller with free(). Texts are zero-terminated. */
typedef struct QV_AccountListEntry {
    char name[512];
    char key[512];
    char levelName[512];  /* empty when the level has no name */
    unsigned int level;
} QV_AccountListEntry;

QV_EXTERN_C_BEGIN

/* Adds an account. Returns the number of accounts afterwards; -1001 for an empty name, -1002
 * for an empty key, -1003 when the name is taken; -2 "account name or key is NULL". */
QV_API int QV_AddNewAccount(const char* name, int level, const char* key);
/* Removes the account of `name` without asking for its key (also the administrator). Returns 0;
 * -1001 "Account %s not in list"; -2 "account name or key is NULL". */
QV_API int QV_DeleteAccount(const char* name);
/* Replaces the key of an account whose current key is `oldKey`. Returns 0; -1001 (unknown
 * name) or -1002 (wrong old key, or a new key equal to it); -2 "account name or old or new key
 * is NULL". An empty new key is taken. */
QV_API int QV_ChangeAccountKey(const char* name, const char* oldKey, const char* newKey);
/* The level of the account when `key` is its key, else -1 (the last error says why: -1001 or
 * -1002); -2 "account name or key is NULL". */
QV_API int QV_GetLevelForAccount(const char* name, const char* key);
/* Saves every account but the administrator to `filePath` (see
 * QV_AccountManager::saveAccountSettings). Returns 0 or a negative code; -2 "filePath is NULL".
 * The file is plain XML: the text cipher is not available in this build, which logs -9, so a
 * successful save leaves -9 as the last error. */
QV_API int QV_SaveAccounts(const char* filePath);
/* Adds the accounts of an account file to those present. Returns 0; -1004 when the file is
 * missing, empty or not an account file; -2 "filePath is NULL". Logs -9 like QV_SaveAccounts. */
QV_API int QV_LoadAccounts(const char* filePath);
/* Reads level names from a text file of lines "<level>,<name>". Returns 0; -1004 when the file
 * cannot be opened; -2 "filePath is NULL". */
QV_API int QV_LoadAccountLevelNames(const char* filePath);
/* Copies the name of `level` into `out` (no length limit: names read from files are at most a
 * line long). Returns 0; -5 without a log when the level has no name or an empty one; -2
 * "output argument is NULL". */
QV_API int QV_GetAccountLevelName(unsigned int level, char* out);
/* Appends to the pointer array `accountList` (an array whose slots hold pointers, such as one of
 * eUserData) one new QV_AccountListEntry per account, in ascending name order, the
 * administrator included; the caller frees each entry. Returns 0; -2 "account list argument is
 * NULL"; -5 when the array holds values in its slots rather than pointers; -3 when an entry
 * cannot be allocated, or AppendValue's code when it cannot be appended (the entries appended
 * so far stay). */
QV_API int QV_GetAllAccounts(QVArray* accountList);

QV_EXTERN_C_END

#ifdef __cplusplus
#include <map>
#include <string>
#include <vector>

/* One account. The manager owns it; pointers handed out stay valid until the library is
 * unloaded, but an account removed from the manager reads with empty name and key. */
struct QV_UserAccount {
    std::string name;
    unsigned int level = 0;
    std::string key;
};

/* The one account manager of the library. Texts are passed by value. Failures are logged under
 * "QV_AccountManager::<method>" with the codes -1001 to -1004 of this header. */
class QV_API QV_AccountManager {
public:
    static QV_AccountManager* getAccountManager();

    /* Adds the accounts of an account file (children of "QV_Accounts" with the properties "key"
     * and "level"); refusals of addNewAccount are logged and skipped. `encrypted` runs the text
     * cipher over the bytes first. Returns 0, or -1004 when the file is missing or empty (line
     * 40) or holds no account tree (line 94). */
    int loadAccountSettings(std::string filePath, bool encrypted);
    /* Writes the accounts in name order; the administrator is left out only when it is the
     * first of them. Returns the result of writing the tree into the XML document (0), or -1004
     * (level 2) when the file cannot be opened for writing. */
    int saveAccountSettings(std::string filePath, bool encrypted);
    /* The account when `key` is its key; null otherwise (-1001 or -1002 logged). */
    QV_UserAccount* getAccount(std::string name, std::string key);
    /* The account's level, or -1 when getAccount fails. */
    int getLevelForAccount(std::string name, std::string key);
    /* Sets the level of the account when `key` is its key; returns the new level, or 0. */
    int setLevelForAccount(std::string name, std::string key, unsigned int level);
    /* Removes every account, then adds the administrator when `addAdmin`. Returns 0. */
    int clearAccounts(bool addAdmin);
    /* Returns the number of accounts afterwards, or -1001 (empty name), -1002 (empty key),
     * -1003 (name taken), tested in this order. */
    int addNewAccount(std::string name, unsigned int level, std::string key);
    /* Returns 0, the code getAccount logged (-1001, -1002), or -1002 when the new key equals
     * the old one. */
    int setNewAccountKey(std::string name, std::string oldKey, std::string newKey);
    /* Removes the account when `key` is its key. Returns 0, -1001, -1002, or -2 for an entry
     * without an account. */
    int deleteAccount(std::string name, std::string key);
    /* Removes the account without a key test. Returns 0 or -1001. */
    int adminDeleteAccount(std::string name);
    /* The level's display name, or "". */
    std::string getAccountLevelName(unsigned int level);
    /* Stores or replaces the level's name; returns the number of level names. */
    int setAccountLevelName(unsigned int level, std::string name);
    /* A copy of the map from name to account; the accounts are shared, not copied. */
    std::map<std::string, QV_UserAccount*> adminGetAccountList();
    /* Reads lines "<level>,<name>" (split at the first comma, atoi before it; lines without a
     * comma are skipped). Returns 0 or -1004. */
    int loadAccountLevelNames(std::string filePath);
    /* Writes one line "<level>,<name>" per level name in level order. Returns 0 or -1004. */
    int saveAccountLevelNames(std::string filePath);

    virtual ~QV_AccountManager();
    QV_AccountManager(const QV_AccountManager&) = delete;
    QV_AccountManager& operator=(const QV_AccountManager&) = delete;

protected:
    /* A manager holding only the administrator account. */
    QV_AccountManager();
    /* The account of `name` without a key test; null (-1001 logged) when there is none. */
    QV_UserAccount* AdminGetAccount(std::string name);

    std::map<std::string, QV_UserAccount*> m_accounts;
    std::map<unsigned int, std::string> m_levelNames;

private:
    /* Accounts removed from the map: blanked (empty name and key) and kept until the manager
     * goes, so that pointers handed out earlier never dangle. */
    std::vector<QV_UserAccount*> m_retired;
};
#endif /* __cplusplus */

#endif
