// The data-type table: type names, the reading of type names, element sizes, the slot layout of
// array elements, and the constructors of the point and rectangle records.
#include <cstring>

#include "data/data_internal.h"
#include "logging/frame.h"

namespace qv::data {

namespace {

// Names of the types -1 .. -29 in order; the unused numbers read "unknown_dt".
constexpr const char* kTypeNames[29] = {
    "no_data",  "undef",      "bool",     "int",         "double",       "float",
    "string",   "char",       "point_2i", "point_2f",    "point_3i",     "point_3f",
    "qv_prop",  "bin_data",   "ref_to_node", "qv_prop_lst", "opt_lst",   "loc_node",
    "short",    "user_data",  "qv_rect",  "opt_lst_mult", "unknown_dt", "hex_int",
    "qv_rectf", "qv_array",   "unknown_dt", "point_2d",  "point_3d"};

}  // namespace

bool isKnownType(int dataType) {
    return dataType <= eNoData && dataType >= eDoublePoint3d && dataType != -23 && dataType != -27;
}

SlotLayout slotLayout(int dataType) {
    switch (dataType) {
        case eQVRectF:
        case eQVRect:
            return {16, true};
        case eHexInt:
        case eOptionListMulti:
        case eOptionList:
        case eFloat:
        case eInt:
        case eBool:
            return {4, true};
        case eShort:
            return {2, true};
        case eFloatPoint3d:
        case eIntPoint3d:
            return {12, true};
        case eFloatPoint2d:
        case eIntPoint2d:
        case eDouble:
            return {8, true};
        case eChar:
            return {1, true};
        case eString:
            return {QV_STRING_SIZE, true};
        default:
            // Everything else, the double points included, is kept by pointer on purpose.
            return {static_cast<int>(sizeof(void*)), false};
    }
}

}  // namespace qv::data

QV_EXTERN_C_BEGIN

QV_API int GetDataTypeStr(int dataType, char* buffer) {
    constexpr const char* kFn = "GetDataTypeStr";
    QV_CHECK_NULL(buffer, __LINE__, "output argument is NULL");
    const char* name = (dataType <= -1 && dataType >= -29) ? qv::data::kTypeNames[-dataType - 1]
                                                            : "unknown_dt";
    std::strcpy(buffer, name);
    return 0;
}

QV_API int ParseDataType(const char* text) {
    if (!text) return eUndef;
    auto has = [text](const char* part) { return std::strstr(text, part) != nullptr; };
    // The order of the tests is intended: the first substring found decides, so names holding
    // "int" (hex_int, the point names) read as eInt and "qv_rectf" as eQVRect.
    if (has("int")) return eInt;
    if (has("string")) return eString;
    if (has("bool")) return eBool;
    if (has("double")) return eDouble;
    if (has("float")) return eFloat;
    if (has("no_data") || has("empty")) return eNoData;
    if (has("bin_data") || has("binary_data")) return eQVBinaryData;
    if (has("ref_to_node") || has("ref_to_treenode")) return eRefToNode;
    if (has("opt_lst_mult") || has("option_list_multi")) return eOptionListMulti;
    if (has("opt_lst") || has("option_list")) return eOptionList;
    if (has("char") || has("Char")) return eChar;
    if (has("qv_rect") || has("rect")) return eQVRect;
    // Never reached by a name holding "rect"; it yields the hex number, kept so on purpose.
    if (has("qv_rectf") || has("rectf")) return eHexInt;
    if (has("hex_int") || has("hex")) return eHexInt;
    if (has("point_2i")) return eIntPoint2d;
    if (has("point_3i")) return eIntPoint3d;
    if (has("point_2f")) return eFloatPoint2d;
    if (has("point_3f")) return eFloatPoint3d;
    if (has("point_2d")) return eDoublePoint2d;
    if (has("point_3d")) return eDoublePoint3d;
    return eUndef;
}

QV_API int GetTypeSize(int dataType) {
    constexpr const char* kFn = "GetTypeSize";
    if (dataType == eNoData) return 0;
    // Every inline slot type has its slot size, except eQVRectF, which has no size here on
    // purpose (as eQVArray and the double points).
    const qv::data::SlotLayout layout = qv::data::slotLayout(dataType);
    if (layout.inlineValues && dataType != eQVRectF) return layout.size;
    switch (dataType) {
        case eQVProperty:
        case eQVBinaryData:
        case eRefToNode:
        case eQVPropertyList:
        case eLocNode:
        case eUserData:
            return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "cannot achieve size of spezified datatype");
        default:
            return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "cannot achieve size of unknown datatype");
    }
}

QV_API QVRect QV_CreateRect(int x1, int x2, int x3, int x4) { return QVRect{x1, x2, x3, x4}; }
QV_API QVRectF QV_CreateRectF(float x1, float x2, float x3, float x4) {
    return QVRectF{x1, x2, x3, x4};
}
QV_API QVPoint2d QV_CreatePoint2d(double x, double y) { return QVPoint2d{x, y}; }
QV_API QVPoint2f QV_CreatePoint2f(float x, float y) { return QVPoint2f{x, y}; }
QV_API QVPoint2i QV_CreatePoint2i(int x, int y) { return QVPoint2i{x, y}; }
QV_API QVPoint3i QV_CreatePoint3i(int x, int y, int z) { return QVPoint3i{x, y, z}; }
QV_API QVPoint3f QV_CreatePoint3f(float x, float y, float z) { return QVPoint3f{x, y, z}; }
QV_API QVPoint3d QV_CreatePoint3d(double x, double y, double z) { return QVPoint3d{x, y, z}; }

QV_EXTERN_C_END
