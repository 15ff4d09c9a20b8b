// qvtool tree: shows a tree file as an indented outline (optionally with the display names of a
// localization table), and reads or changes one value by its name path. A changed tree is
// written to a temporary file in the same directory, read back, and only then renamed over the
// original, so that a failure never leaves a half-written file.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "QV_Tools.h"
#include "commands.h"

namespace qvtool {

namespace {

int fail(const char* format, ...) __attribute__((format(printf, 1, 2)));

// One line on standard error; the exit status for bad input.
int fail(const char* format, ...) {
    std::fprintf(stderr, "qvtool tree: ");
    va_list args;
    va_start(args, format);
    std::vfprintf(stderr, format, args);
    va_end(args);
    std::fprintf(stderr, "\n");
    return kBadInput;
}

// Holds what the XML parser writes to standard error while a file is read, so that the tool's
// own one-line message is all the user sees.
class StderrCapture {
public:
    StderrCapture() : m_file(std::tmpfile()), m_saved(-1) {
        std::fflush(stderr);
        if (m_file) m_saved = dup(STDERR_FILENO);
        if (m_saved >= 0) dup2(fileno(m_file), STDERR_FILENO);
    }
    ~StderrCapture() { finish(); }
    StderrCapture(const StderrCapture&) = delete;
    StderrCapture& operator=(const StderrCapture&) = delete;

    // Restores standard error and returns what was written meanwhile.
    std::string finish() {
        std::string text;
        std::fflush(stderr);
        if (m_saved >= 0) {
            dup2(m_saved, STDERR_FILENO);
            close(m_saved);
            m_saved = -1;
        }
        if (m_file) {
            std::rewind(m_file);
            char buffer[512];
            for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, m_file)) > 0;) text.append(buffer, n);
            std::fclose(m_file);
            m_file = nullptr;
        }
        return text;
    }

private:
    std::FILE* m_file;
    int m_saved;
};

bool isPoint(int type) {
    return type == eIntPoint2d || type == eFloatPoint2d || type == eIntPoint3d || type == eFloatPoint3d ||
           type == eDoublePoint2d || type == eDoublePoint3d;
}

// Releases a value the library parsed. Its data release leaves points alone on purpose, so
// points, allocated like every value, are freed here.
void releaseValue(void* value, int type) {
    if (isPoint(type))
        std::free(value);
    else
        ReleaseData(value, type, 0);
}

// Releases a loaded tree with every value it owns.
void releaseTree(QVTreeNode* node) {
    if (!node) return;
    auto drop = [](QVTreeNode* n, auto& self) -> void {
        if ((n->dataFlags & QV_DATA_OWNED_MASK) && isPoint(n->dataType) && n->data) {
            std::free(n->data);
            n->data = nullptr;
        }
        if (n->properties) self(n->properties, self);
        for (int i = 0; i < n->childArraySize; ++i)
            if (n->children[i]) self(n->children[i], self);
    };
    drop(node, drop);
    ReleaseTreeNode(node, 1);
}

struct TreeHolder {
    QVTreeNode* tree = nullptr;
    ~TreeHolder() { releaseTree(tree); }
};

// Loads `file`; on failure fills `error` with the reason.
QVTreeNode* load(const std::string& file, std::string& error) {
    struct stat info;
    if (stat(file.c_str(), &info) != 0) {
        error = file + ": " + std::strerror(errno);
        return nullptr;
    }
    StderrCapture capture;
    QVTreeNode* tree = LoadTreeNode(file.c_str(), nullptr);
    const std::string parser = capture.finish();
    if (tree) return tree;
    // The parser's own message, "Exception Occurred "<message>".", when there is one.
    std::string reason = "not a tree file";
    const std::string marker = "Exception Occurred \"";
    const size_t at = parser.find(marker);
    if (at != std::string::npos) {
        const size_t end = parser.find("\".", at + marker.size());
        reason = parser.substr(at + marker.size(), end == std::string::npos ? std::string::npos : end - at - marker.size());
    }
    error = "cannot read " + file + ": " + reason;
    return nullptr;
}

// The node at the name path "root|a|b" (base names from the root; the last may be a property).
QVTreeNode* find(QVTreeNode* root, const std::string& path) {
    std::vector<std::string> names;
    size_t start = 0;
    for (size_t bar; (bar = path.find('|', start)) != std::string::npos; start = bar + 1)
        names.push_back(path.substr(start, bar - start));
    names.push_back(path.substr(start));
    std::vector<char> table(names.size() * QV_STRING_SIZE, '\0');
    auto* rows = reinterpret_cast<char(*)[QV_STRING_SIZE]>(table.data());
    for (size_t i = 0; i < names.size(); ++i) {
        if (names[i].empty() || names[i].size() >= QV_STRING_SIZE) return nullptr;
        std::memcpy(rows[i], names[i].c_str(), names[i].size());
    }
    return GetNodeFromPath(root, rows, static_cast<int>(names.size()), eSearchFromRoot | eSearchProperties);
}

// The text form of a node's value, or "" for a node without one.
std::string valueText(const QVTreeNode* node) {
    if (!node->data || node->dataType == eNoData) return "";
    size_t size = QV_MAX_PATH_DEPTH * QV_NAME_SIZE + 1;
    if (node->dataType == eQVArray) {
        const int length = QVWriteArrayData(static_cast<const QVArray*>(node->data), nullptr, 0, 10, ';');
        if (length < 0) return "";
        size += static_cast<size_t>(length);
    }
    std::vector<char> text(size, '\0');
    return NodeDataToString(node, 10, text.data()) == 0 ? std::string(text.data()) : "";
}

std::string typeName(int type) {
    char name[QV_TYPE_NAME_SIZE];
    GetDataTypeStr(type, name);
    return name;
}

// Control characters as escapes, so that every node stays on one line of the outline.
std::string oneLine(const std::string& text) {
    std::string out;
    for (unsigned char c : text) {
        if (c == '\n')
            out += "\\n";
        else if (c == '\r')
            out += "\\r";
        else if (c == '\t')
            out += "\\t";
        else if (c < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\x%02X", c);
            out += escape;
        } else
            out += static_cast<char>(c);
    }
    return out;
}

// Points every reference of the tree at its node again, so that it shows the node's path.
void resolveReferences(QVTreeNode* node, QVTreeNode* root) {
    if (node->dataType == eRefToNode && !node->data) LoadRefNode(node, root, 0);
    for (int i = 0; i < node->childArraySize; ++i)
        if (node->children[i]) resolveReferences(node->children[i], root);
}

void printNode(const QVTreeNode* node, int depth, bool isProperty) {
    std::string line(static_cast<size_t>(depth) * 2, ' ');
    if (isProperty) line += "@";
    line += node->name;
    if (std::strcmp(node->name, node->baseName) != 0) line += std::string(" (") + node->baseName + ")";
    line += " [" + std::to_string(node->id) + "]";
    if (node->dataType != eNoData) line += " " + typeName(node->dataType);
    if (node->data && node->dataType != eNoData) line += " = " + oneLine(valueText(node));
    if (node->localizedText && node->localizedText[0]) line += "  # " + oneLine(node->localizedText);
    std::printf("%s\n", line.c_str());
    if (const QVTreeNode* list = node->properties)
        for (int i = 0; i < list->childArraySize; ++i)
            if (list->children[i]) printNode(list->children[i], depth + 1, true);
    for (int i = 0; i < node->childArraySize; ++i)
        if (node->children[i]) printNode(node->children[i], depth + 1, false);
}

// The whole text is one number of the kind `integer` says, within [low, high].
bool isNumber(const std::string& text, bool integer, double low, double high) {
    if (text.empty() || std::isspace(static_cast<unsigned char>(text[0]))) return false;
    char* end = nullptr;
    errno = 0;
    const double value = integer ? static_cast<double>(std::strtoll(text.c_str(), &end, 10))
                                 : std::strtod(text.c_str(), &end);
    return errno == 0 && *end == '\0' && std::isfinite(value) && value >= low && value <= high;
}

// `count` numbers separated by ';'.
bool isNumberList(const std::string& text, int count, bool integer) {
    std::vector<std::string> parts;
    size_t start = 0;
    for (size_t semi; (semi = text.find(';', start)) != std::string::npos; start = semi + 1)
        parts.push_back(text.substr(start, semi - start));
    parts.push_back(text.substr(start));
    if (static_cast<int>(parts.size()) != count) return false;
    for (const std::string& part : parts)
        if (!isNumber(part, integer, integer ? -2147483648.0 : -3.4e38, integer ? 2147483647.0 : 3.4e38)) return false;
    return true;
}

// No control characters but tabs and line ends (the others cannot be written into XML).
bool hasNoControls(const std::string& text) {
    for (unsigned char c : text)
        if (c < 0x20 && c != '\t' && c != '\n' && c != '\r') return false;
    return true;
}

bool isPlainText(const std::string& text) { return hasNoControls(text) && text.size() < QV_STRING_SIZE; }

// Types whose values have a text form the library reads back.
bool isSettable(int type) {
    switch (type) {
    case eNoData:
    case eUndef:
    case eQVProperty:
    case eRefToNode:
    case eQVPropertyList:
    case eLocNode:
    case eUserData: return false;
    default: return type <= eNoData && type >= eDoublePoint3d && type != -23 && type != -27;
    }
}

// Whether `text` is a complete value of `type`: the library's reader takes any prefix it can
// use (atoi, atof), so the tool checks the whole text first.
bool isValidText(const std::string& text, int type) {
    switch (type) {
    case eBool:
    case eInt:
    case eOptionList:
    case eOptionListMulti: return isNumber(text, true, -2147483648.0, 2147483647.0);
    case eShort: return isNumber(text, true, -32768, 32767);
    case eChar: return isNumber(text, true, -128, 127);
    case eHexInt: {
        const std::string digits = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X') ? text.substr(2) : text;
        return !digits.empty() && digits.size() <= 8 && digits.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
    }
    case eFloat: return isNumber(text, false, -3.4e38, 3.4e38);
    case eDouble: return isNumber(text, false, -1.7e308, 1.7e308);
    case eString: return isPlainText(text);
    case eIntPoint2d: return isNumberList(text, 2, true);
    case eIntPoint3d: return isNumberList(text, 3, true);
    case eFloatPoint2d:
    case eDoublePoint2d: return isNumberList(text, 2, false);
    case eFloatPoint3d:
    case eDoublePoint3d: return isNumberList(text, 3, false);
    case eQVRect: return isNumberList(text, 4, true);
    case eQVRectF: return isNumberList(text, 4, false);
    case eQVArray: return hasNoControls(text);
    case eQVBinaryData: return !text.empty() && isPlainText(text) && text.find('\n') == std::string::npos;
    default: return false;
    }
}

// Saves `tree` over `file`: into a temporary file of the same directory that must read back as
// a tree, then renamed over the original (keeping its permissions). The original is untouched
// on any failure.
bool saveOver(QVTreeNode* tree, const std::string& file, std::string& error) {
    const size_t slash = file.rfind('/');
    const std::string dir = slash == std::string::npos ? "." : file.substr(0, slash + 1);
    const std::string base = slash == std::string::npos ? file : file.substr(slash + 1);
    std::string temp = dir + (dir.back() == '/' ? "" : "/") + "." + base + ".XXXXXX";
    const int fd = mkstemp(&temp[0]);
    if (fd < 0) {
        error = "cannot write " + file + ": " + std::strerror(errno);
        return false;
    }
    struct stat info;
    if (stat(file.c_str(), &info) == 0) fchmod(fd, info.st_mode & 07777);
    close(fd);
    const char* problem = nullptr;
    if (SaveTreeNode(tree, temp.c_str(), QV_XML_PRETTY_PRINT) != 0) {
        problem = "the tree could not be written";
    } else {
        StderrCapture capture;
        QVTreeNode* check = LoadTreeNode(temp.c_str(), nullptr);
        if (!check) problem = "the written tree did not read back";
        releaseTree(check);
    }
    if (!problem && std::rename(temp.c_str(), file.c_str()) != 0) problem = std::strerror(errno);
    const bool ok = problem == nullptr;
    if (!ok) {
        error = "cannot write " + file + ": " + problem;
        std::remove(temp.c_str());
    }
    return ok;
}

struct Arguments {
    std::vector<std::string> positional;
    std::string table, language, separators = ";";
};

// Splits the arguments into positional ones and the options of show; false on an unknown or
// incomplete option (reported).
bool parse(int argc, char** argv, Arguments& out) {
    for (int i = 0; i < argc; ++i) {
        const std::string arg = argv[i];
        std::string* target = arg == "--lang" ? &out.table : arg == "--language" ? &out.language
                            : arg == "--sep"  ? &out.separators : nullptr;
        if (target) {
            if (i + 1 >= argc) {
                fail("option %s needs a value", arg.c_str());
                return false;
            }
            *target = argv[++i];
        } else if (arg.size() > 1 && arg[0] == '-' && arg[1] == '-') {
            fail("unknown option '%s' (see qvtool tree --help)", arg.c_str());
            return false;
        } else {
            out.positional.push_back(arg);
        }
    }
    return true;
}

int show(const Arguments& args) {
    if (args.positional.size() != 2) return fail("usage: qvtool tree show FILE.xml [--lang TABLE.csv --language LANG]");
    if (!args.table.empty() || !args.language.empty()) {
        if (args.table.empty() || args.language.empty()) return fail("--lang and --language go together");
        QVTreeNode* translations = CreateLocalizationNodeFromTable(args.table.c_str(), args.language.c_str(),
                                                                   args.separators.c_str());
        if (!translations)
            return fail("cannot read localization table %s for language %s", args.table.c_str(), args.language.c_str());
        // Installed before loading: every node read is localized as it is made.
        AddLocalizationNode(translations);
    }
    std::string error;
    TreeHolder holder;
    holder.tree = load(args.positional[1], error);
    if (!holder.tree) return fail("%s", error.c_str());
    resolveReferences(holder.tree, holder.tree);
    printNode(holder.tree, 0, false);
    return 0;
}

int get(const Arguments& args) {
    if (args.positional.size() != 3) return fail("usage: qvtool tree get FILE.xml PATH");
    std::string error;
    TreeHolder holder;
    holder.tree = load(args.positional[1], error);
    if (!holder.tree) return fail("%s", error.c_str());
    const std::string& path = args.positional[2];
    const QVTreeNode* node = find(holder.tree, path);
    if (!node) return fail("no node at %s in %s", path.c_str(), args.positional[1].c_str());
    if (!node->data || node->dataType == eNoData) return fail("%s has no value", path.c_str());
    std::printf("%s\n", valueText(node).c_str());
    return 0;
}

int set(const Arguments& args) {
    if (args.positional.size() != 4) return fail("usage: qvtool tree set FILE.xml PATH VALUE");
    const std::string& file = args.positional[1];
    const std::string& path = args.positional[2];
    const std::string& text = args.positional[3];
    std::string error;
    TreeHolder holder;
    holder.tree = load(file, error);
    if (!holder.tree) return fail("%s", error.c_str());
    QVTreeNode* node = find(holder.tree, path);
    if (!node) return fail("no node at %s in %s", path.c_str(), file.c_str());
    const int type = node->dataType;
    if (!isSettable(type))
        return fail("%s holds no value that can be set (type %s)", path.c_str(), typeName(type).c_str());
    if (!isValidText(text, type))
        return fail("'%s' is not a valid %s value for %s", oneLine(text).c_str(), typeName(type).c_str(), path.c_str());
    void* value = ParseData(text.c_str(), type);
    if (!value)
        return fail("'%s' is not a valid %s value for %s", oneLine(text).c_str(), typeName(type).c_str(), path.c_str());
    // A binary record keeps the size of the bytes it names.
    if (type == eQVBinaryData && node->data)
        static_cast<QVBinaryData*>(value)->size = static_cast<QVBinaryData*>(node->data)->size;
    // The node takes the parsed value over and owns it; a value it owned before goes.
    void* old = node->data;
    const bool ownedOld = (node->dataFlags & QV_DATA_OWNED_MASK) != 0;
    node->data = value;
    node->dataFlags = eAllocNewPtr;
    if (old && ownedOld) releaseValue(old, type);
    resolveReferences(holder.tree, holder.tree);  // so that references are written with their paths
    if (!saveOver(holder.tree, file, error)) return fail("%s", error.c_str());
    std::printf("%s = %s\n", path.c_str(), oneLine(valueText(node)).c_str());
    return 0;
}

}  // namespace

void helpTree() {
    std::printf(
        "usage: qvtool tree show FILE.xml [--lang TABLE.csv --language LANG [--sep CHARS]]\n"
        "       qvtool tree get FILE.xml PATH\n"
        "       qvtool tree set FILE.xml PATH VALUE\n\n"
        "show  prints the tree of a tree file as an indented outline: one line per node with its\n"
        "      name, [id], type and value; properties are listed under their node with '@'.\n"
        "      With a localization table the names are shown in LANG (the internal name follows\n"
        "      in parentheses) with the description after '#'. CHARS are the table's field\n"
        "      separators (default ';').\n"
        "get   prints the value at PATH, the internal names from the root joined by '|'\n"
        "      (root|camera|exposure); the last name may be a property.\n"
        "set   reads VALUE as the type of the value at PATH, stores it and saves the file (a\n"
        "      temporary file in the same directory, renamed over the original when complete).\n\n"
        "A missing or unreadable file, an unknown path or a value that does not read as its type\n"
        "is reported in one line on standard error with exit status 2; the file is not changed.\n");
}

int runTree(int argc, char** argv) {
    if (argc < 1) return fail("expected show, get or set (see qvtool tree --help)");
    Arguments args;
    if (!parse(argc, argv, args)) return kBadInput;
    const std::string& command = args.positional.empty() ? std::string() : args.positional[0];
    if (command != "show" && (!args.table.empty() || !args.language.empty()))
        return fail("--lang and --language belong to show");
    if (command == "show") return show(args);
    if (command == "get") return get(args);
    if (command == "set") return set(args);
    return fail("unknown subcommand '%s' (expected show, get or set)", command.c_str());
}

}  // namespace qvtool
