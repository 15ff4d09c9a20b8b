// Binary data records: a block of raw bytes with its size and file name, written to and read
// from a file of its own. Writing and ReadBinary join directory and name directly (the
// directory carries its own trailing separator); ReadBinaryData puts the platform separator
// between them. Both conventions are intended and kept.
#include <sys/stat.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "data/data_internal.h"
#include "logging/frame.h"
#include "system/platform.h"

namespace {

// Opens `path` for binary reading and finds its size. Only regular files count as readable, so
// that a directory fails to open here as it does on every platform.
struct InputFile {
    std::FILE* file = nullptr;
    long long size = -1;
    ~InputFile() {
        if (file) std::fclose(file);
    }
    bool open(const std::string& path) {
        file = std::fopen(path.c_str(), "rb");
        if (!file) return false;
        struct stat info {};
        if (fstat(fileno(file), &info) != 0 || !S_ISREG(info.st_mode)) return false;
        if (std::fseek(file, 0, SEEK_END) == 0) size = std::ftell(file);
        std::rewind(file);
        return true;
    }
};

// Opens `path` and checks its size, logging failures under the export `kFn`: the file size, or 0
// when the file cannot be read (a record's size is a 32-bit number, so larger files fail too).
int openForReading(InputFile& in, const std::string& path, const char* kFn) {
    if (!in.open(path))
        return QV_FAIL_VAL(0, 1, QV_ERR_IO, __LINE__, "could not open file %s for reading binary data",
                           path.c_str());
    if (in.size < 1) return QV_FAIL_VAL(0, 1, QV_ERR_IO, __LINE__, "file %s has size 0", path.c_str());
    if (in.size > INT_MAX)
        return QV_FAIL_VAL(0, 1, QV_ERR_IO, __LINE__, "file %s is too large for binary data",
                           path.c_str());
    return static_cast<int>(in.size);
}

// A zeroed buffer for a file's bytes; null (logged under `kFn`) when memory is short.
void* allocateFor(int fileSize, const char* kFn) {
    void* buffer = std::calloc(static_cast<std::size_t>(fileSize), 1);
    if (!buffer)
        return QV_FAIL_NULL(1, QV_ERR_MEMORY, __LINE__, "not enough memory to read %d bytes", fileSize);
    return buffer;
}

void copyName(char* target, const char* name) {
    const std::size_t n = name ? strnlen(name, QV_STRING_SIZE - 1) : 0;
    if (n) std::memcpy(target, name, n);
    target[n] = '\0';
}

}  // namespace

QV_EXTERN_C_BEGIN

QV_API QVBinaryData* CreateBinaryData(void* data, int size, const char* name) {
    constexpr const char* kFn = "CreateBinaryData";
    auto* record = static_cast<QVBinaryData*>(std::calloc(1, sizeof(QVBinaryData)));
    if (!record)
        return QV_FAIL_NULL(1, QV_ERR_MEMORY, __LINE__, "not enough memory to allocate QVBinaryData");
    record->data = data;
    record->size = size;
    copyName(record->name, name);
    record->ownsData = 0;
    return record;
}

QV_API int ReleaseBinaryData(QVBinaryData* binaryData, int releaseRaw) {
    constexpr const char* kFn = "ReleaseBinaryData";
    QV_CHECK_NULL(binaryData, __LINE__, "binary data is NULL, cannot release data");
    if (releaseRaw) {
        if (binaryData->ownsData)
            std::free(binaryData->data);
        else
            QV_NOTE(5, __LINE__,
                    "cannot release raw data, raw data pointer is not owned by bin data struct");
    }
    std::free(binaryData);
    return 0;
}

QV_API int WriteBinaryData(const QVBinaryData* binaryData, const char* directory) {
    constexpr const char* kFn = "WriteBinaryData";
    QV_CHECK_NULL(binaryData, __LINE__, "binaryData is Null, cannot write binary data to file");
    QV_CHECK_NULL(binaryData->data, __LINE__,
                  "data pointer of binaryData is Null, cannot write binary data to file");
    const std::string path = std::string(directory ? directory : "") + binaryData->name;
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (!file)
        return QV_FAIL(1, QV_ERR_IO, __LINE__, "could not open file %s for writing binary data",
                       path.c_str());
    // A negative size writes nothing (and so fails below) rather than a huge block.
    const std::size_t size = binaryData->size > 0 ? static_cast<std::size_t>(binaryData->size) : 0;
    const std::size_t written = size ? std::fwrite(binaryData->data, 1, size, file) : 0;
    const bool closed = std::fclose(file) == 0;
    if (written == 0) return QV_FAIL(1, QV_ERR_IO, __LINE__, "no bytes written");
    if (written != size || !closed)
        return QV_FAIL(1, QV_ERR_IO, __LINE__, "number of written bytes: %d differs from dataSize: %d",
                       static_cast<int>(written), binaryData->size);
    QV_NOTE(3, __LINE__, "wrote binary data to %s", path.c_str());
    return static_cast<int>(written);
}

QV_API QVBinaryData* ReadBinaryData(const char* directory, const char* name) {
    constexpr const char* kFn = "ReadBinaryData";
    std::string path = directory ? directory : "";
    if (name && *name) path.append(1, qv::platform::kPathSeparator).append(name);
    InputFile in;
    const int fileSize = openForReading(in, path, kFn);
    if (fileSize < 1) return nullptr;
    void* buffer = allocateFor(fileSize, kFn);
    if (!buffer) return nullptr;
    const std::size_t got = std::fread(buffer, 1, static_cast<std::size_t>(fileSize), in.file);
    if (got == 0) {
        std::free(buffer);
        return QV_FAIL_NULL(1, QV_ERR_IO, __LINE__, "no bytes read");
    }
    if (got != static_cast<std::size_t>(fileSize))
        QV_FAIL(1, QV_ERR_IO, __LINE__, "number of read bytes: %d differs from calculated dataSize: %d",
                static_cast<int>(got), fileSize);
    QVBinaryData* record = CreateBinaryData(buffer, fileSize, name);
    if (!record) {
        std::free(buffer);
        return nullptr;
    }
    record->ownsData = 1;
    return record;
}

QV_API void* ReadBinary(QVBinaryData* binaryData, const char* directory) {
    constexpr const char* kFn = "ReadBinary";
    if (!binaryData)
        return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__,
                            "binaryData struct is Null, cannot read data from file");
    const std::string path = std::string(directory ? directory : "") + binaryData->name;
    InputFile in;
    const int fileSize = openForReading(in, path, kFn);
    if (fileSize < 1) return nullptr;
    if (binaryData->data) {
        if (binaryData->size < fileSize)
            return QV_FAIL_NULL(1, QV_ERR_ARGUMENT, __LINE__,
                                "data size of binaryData struct is too small to fit the data from "
                                "the file, no data read");
        if (binaryData->size > fileSize) {
            QV_FAIL(2, QV_ERR_ARGUMENT, __LINE__,
                    "data size of binaryData struct is bigger than the file size, data behind read "
                    "data will be set to 0");
            std::memset(binaryData->data, 0, static_cast<std::size_t>(binaryData->size));
        }
    } else {
        void* buffer = allocateFor(fileSize, kFn);
        if (!buffer) return nullptr;
        binaryData->data = buffer;
        binaryData->size = fileSize;
        binaryData->ownsData = 1;
    }
    // Only the file's size is read, so the buffer (at least that large) is never overrun.
    const std::size_t got =
        std::fread(binaryData->data, 1, static_cast<std::size_t>(fileSize), in.file);
    if (got == 0) {
        if (binaryData->ownsData) {
            std::free(binaryData->data);
            // The record must not keep a pointer to freed bytes: a later release or read would
            // free or fill them again.
            binaryData->data = nullptr;
            binaryData->ownsData = 0;
        }
        return QV_FAIL_NULL(1, QV_ERR_IO, __LINE__, "no bytes read");
    }
    if (got != static_cast<std::size_t>(fileSize))
        QV_FAIL(2, QV_ERR_IO, __LINE__, "number of read bytes: %d differs from calculated dataSize: %d",
                static_cast<int>(got), fileSize);
    return binaryData->data;
}

QV_EXTERN_C_END
