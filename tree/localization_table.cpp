// Localization tables: a text file with a header line and one row per node id, read into a
// translation node whose properties carry, per id, the display name, the description and the
// text of possible data types in the chosen language. Rows that do not fit are logged and
// skipped; reading goes on with the next row.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "logging/frame.h"
#include "qvtools/system.h"
#include "tree/tree_internal.h"

namespace {

using namespace qv::tree;

constexpr const char* kFn = "CreateLocalizationNodeFromTable";
constexpr std::size_t kMaxLine = 16384;
// Longest description and data-type text a translation keeps (a 512-byte text).
constexpr std::size_t kMaxText = QV_STRING_SIZE - 1;
constexpr int kTranslationId = -18;
constexpr int kTranslationSlots = 512;

// Reads one line without its line end ("\n" or "\r\n"). Characters beyond kMaxLine are
// dropped up to the line end. False at the end of the file.
bool readLine(std::FILE* file, std::string& line) {
    line.clear();
    bool any = false;
    for (int c; (c = std::getc(file)) != EOF;) {
        any = true;
        if (c == '\n') break;
        if (line.size() < kMaxLine) line += static_cast<char>(c);
    }
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return any;
}

// The field at 0-based `index`, or "" when the row is shorter.
const std::string& field(const std::vector<std::string>& row, std::size_t index) {
    static const std::string kNone;
    return index < row.size() ? row[index] : kNone;
}

// Cuts a description or data-type text to what a translation keeps, logging texts that are too
// long.
void limit(std::string& text, const std::string& name) {
    if (text.size() > QV_STRING_SIZE)
        static_cast<void>(QV_FAIL(2, QV_ERR_ARGUMENT, __LINE__,
                                  "node description for node %s is too long, may be only %d characters long",
                                  name.c_str(), QV_STRING_SIZE));
    if (text.size() > kMaxText) text.resize(kMaxText);
}

}  // namespace

extern "C" {

QV_API QVTreeNode* CreateLocalizationNodeFromTable(const char* path, const char* language,
                                                   const char* separators) {
    if (!path || !language || !separators)
        return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "path, language or separators is NULL");
    std::FILE* file = std::fopen(path, "r");
    if (!file)
        return QV_FAIL_NULL(1, QV_ERR_IO, __LINE__, "could not open localization table file: %s", path);

    std::string line;
    std::vector<std::string> header;
    if (readLine(file, line)) header = Tokenize(line, separators);
    // Columns are 0-based positions; the fields of the format are counted from 1, so that
    // field 1 (the id) is column 0 and the fallback fields 3, 4 and 5 are columns 2, 3 and 4.
    std::size_t column = 0;
    for (std::size_t i = 0; i < header.size(); ++i) {
        if (header[i].find(language) != std::string::npos) {
            column = i;
            break;
        }
    }

    QVTreeNode* translations = nullptr;
    int used = 0;
    while (readLine(file, line)) {
        const std::vector<std::string> row = Tokenize(line, separators);
        if (row.size() < header.size()) {
            static_cast<void>(QV_FAIL(2, QV_ERR_ARGUMENT, __LINE__,
                                      "format error in localization table in line %d, wrong field separator?", used));
            continue;
        }
        if (field(row, 0).empty()) continue;
        const int id = std::atoi(row[0].c_str());
        std::string name = field(row, column);
        if (name.empty()) name = field(row, 2);
        std::string description = field(row, column + 1);
        if (description.empty()) description = field(row, 3);
        limit(description, name);
        std::string dataTypes;
        if (column + 2 >= row.size()) {
            static_cast<void>(QV_FAIL(2, QV_ERR_ARGUMENT, __LINE__,
                                      "format error in localization table, row with possible datatypes for selected language is not available"));
        } else {
            dataTypes = row[column + 2];
            if (dataTypes.empty()) dataTypes = field(row, 4);
            limit(dataTypes, name);
            if (dataTypes.size() <= 1) dataTypes.clear();
        }

        if (!translations) {
            translations = CreateTreeNodeN(eNoData, nullptr, language, kTranslationId, eShift,
                                           kTranslationSlots, 0);
            if (!translations) break;
        }
        QVTreeNode* property = SetPropertyEx(translations, id, name.c_str(), description.c_str(),
                                             eString, eReallocData, kDefaultAccess, 1);
        if (property && !dataTypes.empty()) {
            if (dataTypes.back() == '\n') dataTypes.pop_back();
            if (property->dataHint || InitNodeDataHint(property) == 0)
                std::memcpy(property->dataHint, dataTypes.c_str(), dataTypes.size() + 1);
        }
        ++used;
    }
    std::fclose(file);
    return translations;
}

}  // extern "C"
