// Localization: reading tables (language column, fallback columns, rows that do not fit,
// over-long texts and lines), installing and merging translation nodes, localizing nodes by id
// and by name, the localization of new nodes and properties, and reading translations.
#include <string>

#include "tree/localization_internal.h"
#include "tree/persist_test.h"

namespace {

using namespace persisttest;
using treetest::TreeTest;

const char* kGermanTable =
    "id;key;en;en_text;en_types;de;de_text;de_types\n"
    "10;exposure;Exposure;Exposure time;int;Belichtung;Belichtungszeit der Kamera;Ganzzahl\n"
    "11;gain;Gain;Amplification;float;;;\n"
    "12;mode;Mode;;;Modus;;x\n"
    ";comment;;;;;;\n"
    "13;too;few\n"
    "14;x;X;;;Y;;\n";

const char* description(QVTreeNode* property) { return static_cast<const char*>(property->data); }

// Every test starts without an installed translation node and leaves none behind.
class Localization : public TreeTest {
protected:
    void SetUp() override {
        TreeTest::SetUp();
        ASSERT_EQ(qv::tree::installedTranslation(), nullptr);
    }
    void TearDown() override {
        QVTreeNode*& installed = qv::tree::installedTranslation();
        if (installed) ReleaseTreeNode(installed, 1);
        installed = nullptr;
        TreeTest::TearDown();
    }
    QVTreeNode* table(const std::string& text, const char* language = "de", const char* separators = ";") {
        const auto path = tempDir() / "table.csv";
        writeFile(path, text);
        return CreateLocalizationNodeFromTable(path.string().c_str(), language, separators);
    }
};

TEST_F(Localization, GermanColumnsWithEnglishFallback) {
    QVTreeNode* t = table(kGermanTable);
    ASSERT_NE(t, nullptr);
    EXPECT_STREQ(t->name, "de");
    EXPECT_EQ(t->id, -18);
    EXPECT_EQ(t->dataType, eNoData);
    EXPECT_EQ(t->childArraySize, 0);
    EXPECT_EQ(t->properties->childArraySize, 512);
    ASSERT_EQ(t->properties->numChildren, 4);  // 10, 11, 12, 14

    QVTreeNode* p = FindPropertyByID(t, 10, nullptr);
    ASSERT_NE(p, nullptr);
    EXPECT_STREQ(p->name, "Belichtung");
    EXPECT_STREQ(p->baseName, "Belichtung");
    EXPECT_EQ(p->dataType, eString);
    EXPECT_STREQ(description(p), "Belichtungszeit der Kamera");
    EXPECT_STREQ(p->dataHint, "Ganzzahl");
    EXPECT_EQ(p->access, 6u);
    // Empty German fields: fields 3, 4 and 5 (the English ones).
    p = FindPropertyByID(t, 11, nullptr);
    EXPECT_STREQ(p->name, "Gain");
    EXPECT_STREQ(description(p), "Amplification");
    EXPECT_STREQ(p->dataHint, "float");
    // A data-type text of one character counts as none; an empty description stays empty.
    p = FindPropertyByID(t, 12, nullptr);
    EXPECT_STREQ(p->name, "Modus");
    EXPECT_STREQ(description(p), "");
    EXPECT_EQ(p->dataHint, nullptr);
    // The row with too few fields is skipped; the line number counts the rows used before it
    // (the row without id is neither used nor counted).
    EXPECT_EQ(FindPropertyByID(t, 13, nullptr), nullptr);
    EXPECT_EQ(linesContaining("format error in localization table in line 3, wrong field separator?").size(), 1u);
    ReleaseTreeNode(t, 1);
}

TEST_F(Localization, LanguageColumnIsTheFirstHeaderFieldContainingTheName) {
    // "de" is found inside "en_desc" before the German column: that column is taken.
    QVTreeNode* t = table(
        "id;key;en;en_desc;en_types;de;de_desc;de_types\n"
        "10;exposure;Exposure;Exposure time;int;Belichtung;Belichtungszeit;Ganzzahl\n");
    ASSERT_NE(t, nullptr);
    QVTreeNode* p = FindPropertyByID(t, 10, nullptr);
    EXPECT_STREQ(p->name, "Exposure time");
    EXPECT_STREQ(description(p), "int");
    EXPECT_STREQ(p->dataHint, "Belichtung");
    ReleaseTreeNode(t, 1);

    // No header field names the language: column 0, the id itself.
    t = table("id;key;en\n10;exposure;Exposure\n", "fr");
    ASSERT_NE(t, nullptr);
    EXPECT_STREQ(FindPropertyByID(t, 10, nullptr)->name, "10");
    ReleaseTreeNode(t, 1);
}

TEST_F(Localization, RowsThatDoNotFit) {
    // The language in the last column: no data-type column in any row.
    QVTreeNode* t = table("id,key;en\r\n10;exposure,Exposure\r\n11,gain;\r\n", "en", ";,");
    ASSERT_NE(t, nullptr);
    EXPECT_EQ(linesContaining("format error in localization table, row with possible datatypes for selected language is not available")
                  .size(),
              2u);
    EXPECT_STREQ(FindPropertyByID(t, 10, nullptr)->name, "Exposure");  // no "\r" kept
    EXPECT_STREQ(FindPropertyByID(t, 11, nullptr)->name, "");          // fallback field 3 empty too
    ReleaseTreeNode(t, 1);

    // Over-long texts: descriptions and data-type texts are cut to 511, names to 127.
    const std::string longText(600, 'd'), longName(200, 'n');
    t = table("id;key;en;en_text;en_types\n1;k;" + longName + ";" + longText + ";" + longText + "\n", "en");
    ASSERT_NE(t, nullptr);
    QVTreeNode* p = FindPropertyByID(t, 1, nullptr);
    EXPECT_EQ(std::string(description(p)), longText.substr(0, 511));
    EXPECT_EQ(std::string(p->dataHint), longText.substr(0, 511));
    EXPECT_EQ(std::string(p->name), longName.substr(0, 127));
    EXPECT_EQ(linesContaining("node description for node " + longName + " is too long, may be only 512 characters long")
                  .size(),
              2u);
    ReleaseTreeNode(t, 1);

    // A line beyond 16384 characters loses its rest, which does not become a row of its own.
    t = table("id;key;en;en_text\n1;k;Name;" + std::string(20000, 'x') + ";2;k;Other\n3;k;Third;\n", "en");
    ASSERT_NE(t, nullptr);
    EXPECT_EQ(t->properties->numChildren, 2);
    EXPECT_EQ(std::strlen(description(FindPropertyByID(t, 1, nullptr))), 511u);
    EXPECT_STREQ(FindPropertyByID(t, 3, nullptr)->name, "Third");
    ReleaseTreeNode(t, 1);
}

TEST_F(Localization, TablesWithoutRows) {
    EXPECT_EQ(CreateLocalizationNodeFromTable((tempDir() / "none.csv").string().c_str(), "de", ";"), nullptr);
    EXPECT_FAILED(1, -4, "CreateLocalizationNodeFromTable",
                     "could not open localization table file: " + (tempDir() / "none.csv").string());
    qvtest::clear();
    EXPECT_EQ(table(""), nullptr);
    EXPECT_EQ(table("id;key;en\n"), nullptr);
    EXPECT_EQ(table("id;key;en\n;a;b\n"), nullptr);
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(table("id;key;en\n1,2,3\n"), nullptr);  // wrong separator
    EXPECT_FAILED(2, -5, "CreateLocalizationNodeFromTable",
                     "format error in localization table in line 0, wrong field separator?");
}

TEST_F(Localization, InstallAndMerge) {
    EXPECT_EQ(AddLocalizationNode(nullptr), -2);
    EXPECT_FAILED(1, -2, "AddLocalizationNode", "locNode is NULL");
    QVTreeNode* plain = CreateEmptyTreeNode("plain", 5);
    EXPECT_EQ(AddLocalizationNode(plain), -5);
    EXPECT_FAILED(1, -5, "AddLocalizationNode", "node has wrong data type and id -> must e a localization node");
    ReleaseTreeNode(plain, 1);

    EXPECT_EQ(GetLocalizationNode(), nullptr);
    QVTreeNode* german = table(kGermanTable);
    ASSERT_EQ(AddLocalizationNode(german), 0);
    EXPECT_EQ(GetLocalizationNode(), german);

    // A second node: only the ids the installed one lacks move over.
    QVTreeNode* more = table("id;key;de;de_text\n10;x;Anders;\n20;y;Neu;\n21;z;Neuer;\n");
    ASSERT_NE(more, nullptr);
    qvtest::clear();
    ASSERT_EQ(AddLocalizationNode(more), 0);
    EXPECT_EQ(GetLocalizationNode(), german);
    EXPECT_STREQ(FindPropertyByID(german, 10, nullptr)->name, "Belichtung");
    EXPECT_STREQ(FindPropertyByID(german, 20, nullptr)->name, "Neu");
    EXPECT_STREQ(FindPropertyByID(german, 21, nullptr)->name, "Neuer");
    EXPECT_EQ(linesContaining("property 20 not found").size(), 1u);
    EXPECT_EQ(german->properties->numChildren, 6);
    ASSERT_EQ(more->properties->numChildren, 1);  // the given node keeps the rest
    EXPECT_EQ(more->properties->children[0]->id, 10);
    ReleaseTreeNode(more, 1);
}

TEST_F(Localization, LocalizeByIdThenByName) {
    QVTreeNode* t = table(kGermanTable);
    QVTreeNode* n = CreateEmptyTreeNode("exposure", 10);
    ASSERT_EQ(LocalizeNode(n, t), 0);
    EXPECT_STREQ(n->name, "Belichtung");
    EXPECT_STREQ(n->baseName, "exposure");
    ASSERT_NE(n->localizedText, nullptr);
    EXPECT_STREQ(n->localizedText, "Belichtungszeit der Kamera");
    ASSERT_NE(n->dataHint, nullptr);
    EXPECT_STREQ(n->dataHint, "Ganzzahl");

    // Unknown id, but the displayed name is a translation's base name.
    QVTreeNode* byName = CreateEmptyTreeNode("Gain", 99);
    ASSERT_EQ(LocalizeNode(byName, t), 0);
    EXPECT_STREQ(byName->localizedText, "Amplification");
    EXPECT_EQ(linesContaining("could not find translation node by ID 99").size(), 1u);

    // A display name of one character is not taken.
    QVTreeNode* one = CreateEmptyTreeNode("x", 14);
    ASSERT_EQ(LocalizeNode(one, t), 0);
    EXPECT_STREQ(one->name, "x");

    // No translation at all: notices only, the last error stays.
    QVTreeNode* none = CreateEmptyTreeNode("other", 98);
    LocalizeNode(nullptr, t);
    EXPECT_FAILED(1, -2, "LocalizeNode", "Node or is NULL");
    EXPECT_EQ(LocalizeNode(none, t), -2);
    EXPECT_FAILED(7, 0, "LocalizeNode", "could not find translation node by name other");
    EXPECT_EQ(QV_GetLastError(), -2);
    EXPECT_STREQ(none->name, "other");
    qvtest::clear();
    EXPECT_EQ(LocalizeNode(none, nullptr), -2);  // none given, none installed
    EXPECT_EQ(count(), 0u);
    for (QVTreeNode* node : {n, byName, one, none}) ReleaseTreeNode(node, 1);
    ReleaseTreeNode(t, 1);
}

TEST_F(Localization, LocalizeSubtrees) {
    QVTreeNode* t = table(kGermanTable);
    QVTreeNode* root = CreateEmptyTreeNode("exposure", 10);
    QVTreeNode* child = CreateEmptyTreeNode("gain", 11);
    AppendChild(root, child);
    QVTreeNode* property = SetProperty(child, 12, "mode", "m", eString, eAllocNewPtr);

    ASSERT_EQ(LocalizeNodes(root, t, 0x10), 0);
    EXPECT_STREQ(root->name, "exposure");  // the start node itself is not localized
    EXPECT_STREQ(child->name, "Gain");
    EXPECT_STREQ(property->name, "mode");
    ASSERT_EQ(LocalizeNodes(root, t, 0x30), 0);
    EXPECT_STREQ(property->name, "Modus");
    std::snprintf(property->name, sizeof property->name, "mode");
    ASSERT_EQ(LocalizeNodes(property, t, 0x20), 0);  // a property localizes itself
    EXPECT_STREQ(property->name, "Modus");
    EXPECT_EQ(LocalizeNodes(root, nullptr, 0x30), -2);
    EXPECT_FAILED(1, -2, "LocalizeNodes", "Node or localization node is NULL");
    ReleaseTreeNode(root, 1);
    ReleaseTreeNode(t, 1);
}

TEST_F(Localization, NewNodesAndPropertiesAreLocalized) {
    ASSERT_EQ(AddLocalizationNode(table(kGermanTable)), 0);
    QVTreeNode* n = CreateEmptyTreeNode("exposure", 10);
    EXPECT_STREQ(n->name, "Belichtung");
    EXPECT_STREQ(n->localizedText, "Belichtungszeit der Kamera");
    QVTreeNode* plain = SetChildNode(n, 50, "plain", nullptr, eNoData);
    EXPECT_STREQ(plain->name, "plain");  // no translation: the name stays
    QVTreeNode* property = SetProperty(n, 11, "gain", "g", eString, eAllocNewPtr);
    EXPECT_STREQ(property->name, "Gain");
    EXPECT_STREQ(property->baseName, "gain");

    // A tree loaded while a translation is installed shows the translated names.
    const auto path = tempDir() / "tree.xml";
    QVTreeNode* raw = CreateEmptyTreeNode("raw", 1);
    children(raw, 1, 10, "exposure");
    SetNodeName(raw->children[0], "exposure");
    ASSERT_EQ(SaveTreeNode(raw, path.string().c_str(), 0), 0);
    QVTreeNode* loaded = LoadTreeNode(path.string().c_str(), nullptr);
    ASSERT_NE(loaded, nullptr);
    EXPECT_STREQ(loaded->children[0]->name, "Belichtung");
    EXPECT_STREQ(loaded->children[0]->baseName, "exposure");
    for (QVTreeNode* node : {n, raw, loaded}) ReleaseTreeNode(node, 1);
}

TEST_F(Localization, ReadingTranslations) {
    char name[QV_NAME_SIZE] = "", text[QV_STRING_SIZE] = "", types[QV_STRING_SIZE] = "";
    EXPECT_EQ(GetLocalizedData(10, name, text, types), -2);
    EXPECT_FAILED(7, 0, "GetLocalizedData", "localization node is NULL, cannot achieve localized data");

    ASSERT_EQ(AddLocalizationNode(table(kGermanTable + std::string("15;empty;;;;;;\n"))), 0);
    ASSERT_EQ(GetLocalizedData(10, name, text, types), 0);
    EXPECT_STREQ(name, "Belichtung");
    EXPECT_STREQ(text, "Belichtungszeit der Kamera");
    EXPECT_STREQ(types, "Ganzzahl");
    ASSERT_EQ(GetLocalizedData(12, nullptr, text, types), 0);  // empty texts are not copied
    EXPECT_STREQ(text, "Belichtungszeit der Kamera");
    EXPECT_STREQ(types, "Ganzzahl");
    EXPECT_EQ(GetLocalizedData(5, name, nullptr, nullptr), -5);
    EXPECT_FAILED(7, 0, "GetLocalizedData", "could not achieve localization info for ID 5");
    EXPECT_EQ(GetLocalizedData(15, name, nullptr, nullptr), -5);
    EXPECT_FAILED(7, 0, "GetLocalizedData", "localized node name is NULL or has length 0 for ID 15");

    char out[QV_STRING_SIZE];
    EXPECT_EQ(GetLocalizedStr(5, "default", out), -5);
    EXPECT_STREQ(out, "default");
    EXPECT_EQ(GetLocalizedStr(11, "default", out), 0);
    EXPECT_STREQ(out, "Gain");
    EXPECT_EQ(GetLocalizedStr(11, nullptr, nullptr), -2);
    EXPECT_FAILED(1, -2, "GetLocalizedStr", "output arg is NULL");
}

}  // namespace
