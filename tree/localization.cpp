// Localization against translation nodes: installing the process-wide translation node and
// merging further ones into it, localizing one node or a subtree by id (or, failing that, by
// name), reading translations by id, and the two hooks through which the node operations
// localize new nodes and new properties.
#include <cstdlib>
#include <cstring>

#include "logging/frame.h"
#include "tree/localization_internal.h"
#include "tree/tree_internal.h"

namespace qv::tree {

QVTreeNode*& installedTranslation() {
    static QVTreeNode* node = nullptr;
    return node;
}

}  // namespace qv::tree

namespace {

using namespace qv::tree;

constexpr int kTranslationId = -18;

// The description of a translation: its string value, or "".
const char* descriptionOf(const QVTreeNode* translation) {
    return translation->dataType == eString && translation->data
               ? static_cast<const char*>(translation->data)
               : "";
}

// Copies at most 511 characters of `text` and a terminator into `out`, and nothing beyond.
void copyText(char* out, const char* text) {
    const std::size_t n = strnlen(text, QV_STRING_SIZE - 1);
    std::memcpy(out, text, n);
    out[n] = '\0';
}

// Copies `text` into the 512-byte text `field`, allocating it zeroed first when it is null.
void setText(char*& field, const char* text) {
    if (!field) field = static_cast<char*>(std::calloc(QV_STRING_SIZE, 1));
    if (field) copyText(field, text);
}

// New nodes and the nodes SetChildNode fills are localized against the installed translation.
void localizeAtCreation(QVTreeNode* node) {
    if (QVTreeNode* translation = installedTranslation()) LocalizeNode(node, translation);
}

// The display name of `id` for properties set by SetPropertyEx. Quiet: it runs for every
// property that is set, with or without a translation.
bool labelFor(int id, char* out) {
    QVTreeNode* translation = installedTranslation();
    if (!translation || !translation->properties) return false;
    QVTreeNode* property = FindChildByID(translation->properties, id);
    if (!property || property->name[0] == '\0') return false;
    copyName(out, property->name);
    return true;
}

// Installed when the library loads, together with the exports below.
const bool g_hooksInstalled = [] {
    setLocalizationHooks(localizeAtCreation, labelFor);
    return true;
}();

}  // namespace

extern "C" {

QV_API int AddLocalizationNode(QVTreeNode* translationNode) {
    constexpr const char* kFn = "AddLocalizationNode";
    if (!translationNode) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "locNode is NULL");
    if (translationNode->dataType != eLocNode && translationNode->id != kTranslationId)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__,
                       "node has wrong data type and id -> must e a localization node");
    QVTreeNode*& installed = installedTranslation();
    if (!installed) {
        installed = translationNode;
        return 0;
    }
    QVTreeNode* given = translationNode->properties;
    if (!given || translationNode == installed) return 0;
    // A translation node made by the caller may lack a property list; it gets one to merge into.
    if (!installed->properties) {
        installed->properties = createPropertyList(installed, eQVPropertyList, 8, 8);
        if (!installed->properties) return QV_ERR_MEMORY;
    }
    // Translations of new ids move over; the next one then slides into the same slot.
    const int steps = given->numChildren;
    int slot = 0;
    for (int step = 0; step < steps && slot < given->childArraySize; ++step) {
        QVTreeNode* property = given->children[slot];
        if (!property || FindPropertyByID(installed, property->id, nullptr) ||
            AppendChild(installed->properties, property) != 0)
            ++slot;
    }
    return 0;
}

QV_API QVTreeNode* GetLocalizationNode(void) { return installedTranslation(); }

QV_API int LocalizeNode(QVTreeNode* node, QVTreeNode* translationNode) {
    constexpr const char* kFn = "LocalizeNode";
    if (!node) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "Node or is NULL");
    if (!translationNode) translationNode = installedTranslation();
    if (!translationNode) return QV_ERR_NULL_ARGUMENT;

    char remembered[QV_NAME_SIZE];
    copyName(remembered, node->name);
    QVTreeNode* list = translationNode->properties;
    QVTreeNode* translation = list ? FindChildByID(list, node->id) : nullptr;
    if (!translation) {
        QV_NOTE(7, __LINE__, "could not find translation node by ID %d", node->id);
        translation = list ? FindChildByName(list, remembered, 1) : nullptr;
        if (!translation) {
            QV_NOTE(7, __LINE__, "could not find translation node by name %s", remembered);
            return QV_ERR_NULL_ARGUMENT;
        }
    }
    // A translation localized against itself has nothing to take over.
    if (translation == node) return 0;
    if (std::strlen(translation->name) > 1) copyName(node->name, translation->name);
    const char* description = descriptionOf(translation);
    if (std::strlen(description) >= 2) {
        std::free(node->localizedText);
        node->localizedText = nullptr;
        setText(node->localizedText, description);
    }
    if (translation->dataHint && translation->dataHint[0]) setText(node->dataHint, translation->dataHint);
    return 0;
}

QV_API int LocalizeNodes(QVTreeNode* node, QVTreeNode* translationNode, unsigned flags) {
    constexpr const char* kFn = "LocalizeNodes";
    if (!node || !translationNode)
        return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "Node or localization node is NULL");
    if (flags & eSearchProperties) {
        if (isPropertyList(node->parent)) LocalizeNode(node, translationNode);
        if (QVTreeNode* list = node->properties)
            for (int i = 0; i < list->numChildren && i < list->childArraySize; ++i)
                if (list->children[i]) LocalizeNode(list->children[i], translationNode);
    }
    if (flags & eSearchChildren) {
        for (int i = 0; i < node->numChildren && i < node->childArraySize; ++i) {
            if (QVTreeNode* child = node->children[i]) {
                LocalizeNode(child, translationNode);
                LocalizeNodes(child, translationNode, flags);
            }
        }
    }
    return 0;
}

QV_API int GetLocalizedData(int id, char* nameOut, char* descriptionOut, char* dataTypesOut) {
    constexpr const char* kFn = "GetLocalizedData";
    QVTreeNode* installed = installedTranslation();
    if (!installed) {
        QV_NOTE(7, __LINE__, "localization node is NULL, cannot achieve localized data");
        return QV_ERR_NULL_ARGUMENT;
    }
    QVTreeNode* translation = FindPropertyByID(installed, id, nullptr);
    if (!translation) {
        QV_NOTE(7, __LINE__, "could not achieve localization info for ID %d", id);
        return QV_ERR_ARGUMENT;
    }
    if (nameOut) {
        if (translation->name[0] == '\0') {
            QV_NOTE(7, __LINE__, "localized node name is NULL or has length 0 for ID %d", id);
            return QV_ERR_ARGUMENT;
        }
        std::strcpy(nameOut, translation->name);
    }
    const char* description = descriptionOf(translation);
    if (descriptionOut && description[0]) copyText(descriptionOut, description);
    if (dataTypesOut && translation->dataHint && translation->dataHint[0])
        copyText(dataTypesOut, translation->dataHint);
    return 0;
}

QV_API int GetLocalizedStr(int id, const char* defaultText, char* out) {
    constexpr const char* kFn = "GetLocalizedStr";
    if (!out) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "output arg is NULL");
    if (defaultText) copyText(out, defaultText);
    return GetLocalizedData(id, out, nullptr, nullptr);
}

}  // extern "C"
