// Array text files: an array kept in a plain text file of its own. The file holds the element
// type on its first line ("%d\n"), then the elements as the array text writer gives them with
// ten elements to a line and ';' between them: the same text as DataToString gives for an
// array, so either can be read back into the other.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "data/data_internal.h"
#include "logging/frame.h"

QV_EXTERN_C_BEGIN

QV_API int QVWriteArrayFile(const QVArray* array, const char* filePath) {
    constexpr const char* kFn = "QVWriteArrayFile";
    if (!array || !filePath)
        return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "array or file path is NULL");
    std::string text = std::to_string(array->dataType) + "\n";
    if (int rc = qv::data::arrayText(array, 10, ';', text, kFn)) return rc;
    std::FILE* file = std::fopen(filePath, "wb");
    if (!file) return QV_FAIL(1, QV_ERR_IO, __LINE__, "could not open file %s for writing", filePath);
    const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
    if (std::fclose(file) != 0 || !written)
        return QV_FAIL(1, QV_ERR_IO, __LINE__, "could not write array to file %s", filePath);
    return 0;
}

QV_API QVArray* QVReadArrayFile(const char* filePath) {
    constexpr const char* kFn = "QVReadArrayFile";
    if (!filePath) return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "file path is NULL");
    std::ifstream file(filePath, std::ios::binary);
    std::stringstream content;
    if (!file || !(content << file.rdbuf()))
        return QV_FAIL_NULL(1, QV_ERR_IO, __LINE__, "could not read file %s", filePath);
    const std::string text = content.str();
    // The element type line: a number, then the line end.
    char* end = nullptr;
    const long type = std::strtol(text.c_str(), &end, 10);
    if (end == text.c_str() || (*end != '\n' && *end != '\r'))
        return QV_FAIL_NULL(1, QV_ERR_ARGUMENT, __LINE__, "file %s has no element type line", filePath);
    QVArray* array = CreateArray(static_cast<int>(type), 0, 0);
    if (!array) return nullptr;
    if (QVReadArrayData(array, end, ';') < 0) {
        ReleaseArray(array, 1);
        return nullptr;
    }
    return array;
}

QV_EXTERN_C_END
