// A temporary file for harnesses whose entry point reads files: each input is written to it
// before the call. The file is made once per process and removed when the process ends.
#pragma once

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>

class InputFile {
public:
    explicit InputFile(const char* stem) : m_path(std::string(P_tmpdir) + "/" + stem + "XXXXXX") {
        const int fd = mkstemp(&m_path[0]);
        if (fd >= 0) close(fd);
    }
    ~InputFile() { std::remove(m_path.c_str()); }
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    // Replaces the file's content with `size` bytes; false when it cannot be written.
    bool write(const std::uint8_t* data, std::size_t size) const {
        std::FILE* file = std::fopen(m_path.c_str(), "wb");
        if (!file) return false;
        const bool ok = size == 0 || std::fwrite(data, 1, size, file) == size;
        return std::fclose(file) == 0 && ok;
    }
    const char* path() const { return m_path.c_str(); }

private:
    std::string m_path;
};
