// The account file and the level-name file: the exact saved text, round trips, what loading
// adds and refuses, and every file that cannot be opened, read or parsed.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "accounts/accounts_test.h"
#include "support/qvtool_run.h"

namespace {

using accountstest::AccountTest;
using accountstest::kAdmin;
using accountstest::kAdminKey;
using accountstest::manager;
using accountstest::OwnManager;
using qvtest::readFile;

void writeFile(const std::filesystem::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

constexpr const char* kHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\" ?><XML_Root_Node>";
constexpr const char* kTail = "</QV_Accounts></XML_Root_Node>";

// The element of one account as the file holds it, written out in full.
std::string accountElement(const std::string& name, int id, int idx, const std::string& key,
                           const std::string& level) {
    return "<" + name + " id=\"" + std::to_string(id) + "\" idx=\"" + std::to_string(idx) +
           "\" order=\"3\"><Properties childarray=\"2\" id=\"-16\" idx=\"0\" order=\"3\">"
           "<val access=\"6\" type=\"qv_prop_lst\" type_id=\"-16\">PropertyList</val>"
           "<children count=\"2\"><key id=\"1\" idx=\"0\" order=\"3\"><val access=\"6\" "
           "type=\"string\" type_id=\"-7\">" + key + "</val></key><level id=\"2\" idx=\"1\" "
           "order=\"3\"><val access=\"6\" type=\"int\" type_id=\"-4\">" + level +
           "</val></level></children></Properties></" + name + ">";
}

std::string accountsElement(int count, const std::string& children) {
    return "<QV_Accounts id=\"0\" idx=\"0\" order=\"3\"><children count=\"" + std::to_string(count) +
           "\">" + children + "</children>";
}

TEST_F(AccountTest, SaveWritesTheAdministratorOnlyWhenANameSortsBeforeIt) {
    const auto path = tempDir() / "accounts.xml";

    // "Bob" sorts before "QV_ADMIN": only the first entry is compared, so both are written.
    ASSERT_EQ(QV_AddNewAccount("Bob", 3, "pw"), 2);
    EXPECT_EQ(QV_SaveAccounts(path.c_str()), 0);
    EXPECT_LAST_FAILURE(1, -9, "QV_EnDecryptText(39): cryptlib support not activated");
    EXPECT_EQ(readFile(path), kHead + accountsElement(2, accountElement("Bob", 1, 0, "pw", "3") +
                                                             accountElement(kAdmin, 2, 1, kAdminKey, "0")) +
                                  kTail);

    // "zed" sorts after it: the administrator comes first and is left out. The file is
    // replaced, not appended to.
    manager()->clearAccounts(true);
    ASSERT_EQ(QV_AddNewAccount("zed", -1, "z&<\"k"), 2);
    EXPECT_EQ(QV_SaveAccounts(path.c_str()), 0);
    EXPECT_EQ(readFile(path),
              kHead + accountsElement(1, accountElement("zed", 1, 0, "z&amp;&lt;\"k", "-1")) + kTail);

    // Only the administrator: an empty account tree.
    manager()->clearAccounts(true);
    qvtest::clear();
    EXPECT_EQ(manager()->saveAccountSettings(path.string(), false), 0);
    EXPECT_TRUE(linesContaining("cryptlib").empty());  // no cipher asked for
    EXPECT_EQ(readFile(path), std::string(kHead) + "<QV_Accounts id=\"0\" idx=\"0\" order=\"3\"/></XML_Root_Node>");
}

TEST_F(AccountTest, SavedAccountsLoadBackAndAddToThosePresent) {
    const auto path = tempDir() / "accounts.xml";
    ASSERT_EQ(QV_AddNewAccount("Ann", 1, "a b&c"), 2);
    ASSERT_EQ(QV_AddNewAccount("Max", -1, "\xe4\xf6\xfc"), 3);  // Latin-1 bytes in the key
    ASSERT_EQ(QV_AddNewAccount("lower", 42, "x"), 4);
    ASSERT_EQ(QV_SaveAccounts(path.c_str()), 0);

    manager()->clearAccounts(true);
    ASSERT_EQ(QV_AddNewAccount("Kept", 5, "k"), 2);
    ASSERT_EQ(QV_ChangeAccountKey(kAdmin, kAdminKey, "changed"), 0);
    qvtest::clear();
    EXPECT_EQ(QV_LoadAccounts(path.c_str()), 0);
    // The file holds the administrator (Ann and Max sort before it): refused, key kept.
    EXPECT_EQ(linesContaining("already exists").size(), 1u);
    EXPECT_EQ(linesContaining("account with specified name QV_ADMIN already exists").size(), 1u);

    EXPECT_EQ(manager()->adminGetAccountList().size(), 5u);
    EXPECT_EQ(QV_GetLevelForAccount("Ann", "a b&c"), 1);
    EXPECT_EQ(manager()->getAccount("Max", "\xe4\xf6\xfc")->level, 4294967295u);
    EXPECT_EQ(QV_GetLevelForAccount("lower", "x"), 42);
    EXPECT_EQ(QV_GetLevelForAccount("Kept", "k"), 5);
    EXPECT_EQ(QV_GetLevelForAccount(kAdmin, "changed"), 0);

    // Loading the same file again refuses every account as already present.
    qvtest::clear();
    EXPECT_EQ(QV_LoadAccounts(path.c_str()), 0);
    EXPECT_EQ(linesContaining("already exists").size(), 4u);
    EXPECT_EQ(manager()->adminGetAccountList().size(), 5u);
}

TEST_F(AccountTest, LoadTakesOnlyChildrenWithKeyAndLevel) {
    const auto path = tempDir() / "accounts.xml";
    writeFile(path,
              std::string("<?xml version=\"1.0\"?><Other><QV_Accounts><children count=\"4\">") +
                  accountElement("Good", 1, 0, "g", "7") +
                  "<NoProps id=\"2\" idx=\"1\"/>" +
                  accountElement("EmptyKey", 3, 2, "", "1") +
                  // A level of one byte is not read as 32 bits.
                  "<CharLevel idx=\"3\"><Properties><children count=\"2\"><key id=\"1\" idx=\"0\"><val "
                  "type_id=\"-7\">c</val></key><level id=\"2\" idx=\"1\"><val type_id=\"-8\">1</val>"
                  "</level></children></Properties></CharLevel>"
                  "</children></QV_Accounts></Other>");
    qvtest::clear();
    EXPECT_EQ(manager()->loadAccountSettings(path.string(), false), 0);
    // Both properties are looked up on the child without a property list, and both lookups
    // report it.
    EXPECT_EQ(linesContaining("FindPropertyByName(").size(), 2u);
    EXPECT_EQ(linesContaining("): node or node->Properties is NULL").size(), 2u);
    EXPECT_EQ(QV_GetLevelForAccount("Good", "g"), 7);
    // An empty key in the file is refused by addNewAccount like any empty key.
    EXPECT_EQ(linesContaining("addNewAccount(268): an empty key is not allowed").size(), 1u);
    const auto accounts = manager()->adminGetAccountList();
    EXPECT_EQ(accounts.size(), 2u);
    for (const char* skipped : {"NoProps", "EmptyKey", "CharLevel"})
        EXPECT_EQ(accounts.count(skipped), 0u) << skipped;
}

// Levels of the other 32-bit integer types load like "int" ones; only values that are no text
// (key) or narrower than 32 bits (level) would be read past their storage and are skipped.
TEST_F(AccountTest, LoadReadsTheLevelOfAnyTypeWideEnough) {
    const auto path = tempDir() / "accounts.xml";
    const auto account = [](const std::string& name, int idx, const char* keyType, const char* levelType) {
        return "<" + name + " idx=\"" + std::to_string(idx) + "\"><Properties><children count=\"2\">"
               "<key id=\"1\" idx=\"0\"><val type_id=\"" + keyType + "\">12</val></key>"
               "<level id=\"2\" idx=\"1\"><val type_id=\"" + levelType + "\">3</val></level>"
               "</children></Properties></" + name + ">";
    };
    writeFile(path, "<QV_Accounts><children count=\"5\">" + account("Bool", 0, "-7", "-3") +
                        account("Option", 1, "-7", "-17") + account("Multi", 2, "-7", "-22") +
                        account("Short", 3, "-7", "-19") + account("IntKey", 4, "-4", "-4") +
                        "</children></QV_Accounts>");
    EXPECT_EQ(manager()->loadAccountSettings(path.string(), false), 0);
    EXPECT_EQ(QV_GetLevelForAccount("Bool", "12"), 3);
    EXPECT_EQ(QV_GetLevelForAccount("Option", "12"), 3);
    EXPECT_EQ(QV_GetLevelForAccount("Multi", "12"), 3);
    const auto accounts = manager()->adminGetAccountList();
    EXPECT_EQ(accounts.size(), 4u);
    EXPECT_EQ(accounts.count("Short"), 0u);
    EXPECT_EQ(accounts.count("IntKey"), 0u);
}

// The account name is the child's base name: a translation installed for the child's id
// changes only its displayed name, which must not rename the account. The translation node
// cannot be removed again, so this runs in a child process.
TEST_F(AccountTest, LoadKeepsAccountNamesWhenATranslationIsInstalled) {
    const auto path = tempDir() / "accounts.xml";
    const auto saveAndLoad = [&path] {
        QVTreeNode* translation = CreateTreeNodeN(eNoData, nullptr, "English", -18, eShift, 512, 0);
        SetProperty(translation, 1, "Operator One", "shown for id 1", eString, eAllocNewPtr);
        if (AddLocalizationNode(translation) != 0) std::exit(2);
        if (QV_AddNewAccount("Bob", 3, "pw") != 2 || QV_SaveAccounts(path.c_str()) != 0) std::exit(3);
        manager()->clearAccounts(true);
        if (QV_LoadAccounts(path.c_str()) != 0) std::exit(4);
        std::exit(QV_GetLevelForAccount("Bob", "pw") == 3 && manager()->adminGetAccountList().size() == 2 ? 0 : 1);
    };
    EXPECT_EXIT(saveAndLoad(), ::testing::ExitedWithCode(0), "");
}

TEST_F(AccountTest, LoadRefusesFilesThatCannotBeOpenedOrParsed) {
    const auto dir = tempDir();
    const auto fails40 = [](const std::filesystem::path& path) {
        EXPECT_EQ(QV_LoadAccounts(path.c_str()), -1004);
        EXPECT_LAST_FAILURE(1, -1004, "QV_AccountManager::loadAccountSettings(40): could not open account settings file " +
                                          path.string());
    };
    fails40(dir / "missing.xml");
    writeFile(dir / "empty.xml", "");
    fails40(dir / "empty.xml");
    fails40(dir);

    const auto fails94 = [](const std::filesystem::path& path) {
        EXPECT_EQ(QV_LoadAccounts(path.c_str()), -1004);
        EXPECT_LAST_FAILURE(1, -1004, "QV_AccountManager::loadAccountSettings(94): could not load account settings from " +
                                          path.string());
    };
    writeFile(dir / "broken.xml", "<?xml version=\"1.0\"?><QV_Accounts><children>");
    qvtest::clear();
    fails94(dir / "broken.xml");
    // The parser's refusal leaves no document, which the tree reader reports before the load
    // is refused.
    ASSERT_GE(count(), 3u);
    EXPECT_EQ(logs()[count() - 3].code, -8);
    EXPECT_NE(logs()[count() - 3].line.find("XMLDocumentFromString("), std::string::npos);
    EXPECT_EQ(logs()[count() - 2].code, -2);
    EXPECT_NE(logs()[count() - 2].line.find("ReadTreeNodeFromXML("), std::string::npos);
    EXPECT_NE(logs()[count() - 2].line.find("): could not find document"), std::string::npos);
    writeFile(dir / "text.xml", "QV_ADMIN,0,4Hund8Katzen\n");
    fails94(dir / "text.xml");
    writeFile(dir / "other.xml", "<?xml version=\"1.0\"?><XML_Root_Node><Accounts/></XML_Root_Node>");
    fails94(dir / "other.xml");

    // A well-formed file whose account tree is empty loads nothing and succeeds.
    writeFile(dir / "none.xml", "<QV_Accounts/>");
    EXPECT_EQ(QV_LoadAccounts((dir / "none.xml").c_str()), 0);
    EXPECT_EQ(manager()->adminGetAccountList().size(), 1u);
}

TEST_F(AccountTest, SaveReturnsTheTreeWritersCodeAndWritesWhatItGot) {
    // A name that cannot be an element name stops the tree writer (-4); the text of what was
    // written so far is saved all the same. "9lives" is the first entry, so the administrator
    // would have been written too: the children count says 3.
    ASSERT_EQ(QV_AddNewAccount("9lives", 1, "pw"), 2);
    ASSERT_EQ(QV_AddNewAccount("Bob", 1, "pw"), 3);
    const auto path = tempDir() / "accounts.xml";
    EXPECT_EQ(QV_SaveAccounts(path.c_str()), -4);
    EXPECT_EQ(linesContaining("xml error occured during TreeNodeToXML function").size(), 1u);
    EXPECT_EQ(QV_GetLastError(), -9);
    EXPECT_EQ(readFile(path), std::string(kHead) + "<QV_Accounts id=\"0\" idx=\"0\" order=\"3\">"
                                                  "<children count=\"3\"/>" + kTail);
}

TEST_F(AccountTest, SaveWritesAnEmptyFileWhenTheTextCannotBeMade) {
    // A control character in a key goes into the document but cannot be serialised: the tree
    // was written (result 0), the text is empty and so is the file.
    ASSERT_EQ(QV_AddNewAccount("Bob", 1, "a\x01" "b"), 2);
    const auto path = tempDir() / "accounts.xml";
    writeFile(path, "old contents");
    qvtest::clear();
    EXPECT_EQ(QV_SaveAccounts(path.c_str()), 0);
    EXPECT_EQ(readFile(path), "");
    const auto failed = linesContaining("could not write xml document to string");
    ASSERT_EQ(failed.size(), 1u);
    EXPECT_EQ(withoutTime(failed[0]).rfind("CXMLManager::XMLDocumentToBytes(", 0), 0u) << failed[0];
    ASSERT_GE(count(), 2u);
    EXPECT_EQ(logs()[count() - 2].code, -8);
    EXPECT_LAST_FAILURE(1, -9, "QV_EnDecryptText(39): cryptlib support not activated");
}

TEST_F(AccountTest, SaveToAPathThatCannotBeOpenedFailsAtLevelTwo) {
    ASSERT_EQ(QV_AddNewAccount("Bob", 1, "pw"), 2);
    for (const auto& path : {tempDir() / "no" / "such" / "dir.xml", tempDir()}) {
        EXPECT_EQ(QV_SaveAccounts(path.c_str()), -1004);
        EXPECT_LAST_FAILURE(2, -1004, "QV_AccountManager::saveAccountSettings(159): could not open account file for writing");
    }
    EXPECT_FALSE(std::filesystem::exists(tempDir() / "no"));
}

TEST_F(AccountTest, LevelNameFilesRoundTripAndSplitAtTheFirstComma) {
    const auto path = tempDir() / "levels.txt";
    OwnManager own;
    own.setAccountLevelName(10, "Setter, senior");
    own.setAccountLevelName(2, "Operator");
    own.setAccountLevelName(4000000000u, "Service");
    EXPECT_EQ(own.saveAccountLevelNames(path.string()), 0);
    EXPECT_EQ(readFile(path), "2,Operator\n10,Setter, senior\n4000000000,Service\n");
    OwnManager other;
    other.setAccountLevelName(2, "old");
    EXPECT_EQ(other.loadAccountLevelNames(path.string()), 0);
    EXPECT_EQ(other.getAccountLevelName(2), "Operator");  // replaced
    EXPECT_EQ(other.getAccountLevelName(10), "Setter, senior");
    EXPECT_EQ(other.getAccountLevelName(4000000000u), "Service");

    writeFile(path, "no comma here\n7x,Seven\r\n-1,Minus\n 3 , three \n8,\n9,last");
    OwnManager third;
    EXPECT_EQ(third.loadAccountLevelNames(path.string()), 0);
    EXPECT_EQ(third.getAccountLevelName(7), "Seven");  // atoi stops at the x; no "\r"
    EXPECT_EQ(third.getAccountLevelName(4294967295u), "Minus");
    EXPECT_EQ(third.getAccountLevelName(3), " three ");
    EXPECT_EQ(third.getAccountLevelName(9), "last");      // no line end after the last line
    EXPECT_EQ(third.setAccountLevelName(100, "x"), 6);  // "8," gave an empty name; no comma, no name

    // The exported loader fills the library's manager.
    writeFile(path, "70011,Inspector\n");
    char out[64] = "";
    EXPECT_EQ(QV_LoadAccountLevelNames(path.c_str()), 0);
    EXPECT_EQ(QV_GetAccountLevelName(70011, out), 0);
    EXPECT_STREQ(out, "Inspector");
    manager()->setAccountLevelName(70011, "");
}

TEST_F(AccountTest, LevelNameFilesThatCannotBeOpened) {
    const auto missing = tempDir() / "missing.txt";
    EXPECT_EQ(QV_LoadAccountLevelNames(missing.c_str()), -1004);
    EXPECT_LAST_FAILURE(1, -1004, "QV_AccountManager::loadAccountLevelNames(420): filepath " + missing.string() + " invalid");
    EXPECT_EQ(QV_LoadAccountLevelNames(tempDir().c_str()), -1004);

    const auto badTarget = tempDir() / "no" / "levels.txt";
    EXPECT_EQ(manager()->saveAccountLevelNames(badTarget.string()), -1004);
    EXPECT_LAST_FAILURE(1, -1004, "QV_AccountManager::saveAccountLevelNames(446): could not create file " +
                                      badTarget.string() + " for writing account level names");
}

}  // namespace
