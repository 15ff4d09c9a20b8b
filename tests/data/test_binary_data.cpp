// Binary data records: ownership on release, the two file-name conventions, and every failure
// of writing and reading, including files smaller and larger than the record's buffer.
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "data_test.h"

namespace {

using datatest::DataTest;
namespace fs = std::filesystem;

class BinaryData : public DataTest {
protected:
    static void writeFile(const fs::path& path, const std::string& bytes) {
        std::ofstream(path, std::ios::binary) << bytes;
    }
    static std::string readFile(const fs::path& path) {
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    // The directory with its trailing separator, as WriteBinaryData and ReadBinary expect it.
    std::string dirWithSlash() { return tempDir().string() + "/"; }
};

TEST_F(BinaryData, CreateKeepsTheCallersPointerAndCopiesTheName) {
    char bytes[3] = {1, 2, 3};
    QVBinaryData* bin = CreateBinaryData(bytes, 3, "a.bin");
    ASSERT_NE(bin, nullptr);
    EXPECT_EQ(bin->data, bytes);
    EXPECT_EQ(bin->size, 3);
    EXPECT_STREQ(bin->name, "a.bin");
    EXPECT_EQ(bin->ownsData, 0);
    EXPECT_EQ(ReleaseBinaryData(bin, 0), 0);

    bin = CreateBinaryData(nullptr, 0, nullptr);
    EXPECT_STREQ(bin->name, "");
    ReleaseBinaryData(bin, 0);
    const std::string longName(700, 'n');
    bin = CreateBinaryData(nullptr, 0, longName.c_str());
    EXPECT_EQ(std::string(bin->name), longName.substr(0, 511));
    ReleaseBinaryData(bin, 0);
    EXPECT_EQ(count(), 0u);
}

TEST_F(BinaryData, ReleaseLeavesBytesItDoesNotOwn) {
    std::vector<char> bytes = {7, 8, 9};
    QVBinaryData* bin = CreateBinaryData(bytes.data(), 3, "x");
    EXPECT_EQ(ReleaseBinaryData(bin, 1), 0);
    EXPECT_FAILED(5, 0, "ReleaseBinaryData",
                  "cannot release raw data, raw data pointer is not owned by bin data struct");
    EXPECT_EQ(bytes, (std::vector<char>{7, 8, 9}));
    EXPECT_EQ(ReleaseBinaryData(nullptr, 1), -2);
    EXPECT_FAILED(1, -2, "ReleaseBinaryData", "binary data is NULL, cannot release data");
}

TEST_F(BinaryData, WriteJoinsDirectoryAndNameDirectly) {
    fs::create_directories(tempDir() / "out");
    char bytes[5] = {'h', 'e', 'l', 'l', 'o'};
    QVBinaryData* bin = CreateBinaryData(bytes, 5, "a.bin");
    const std::string dir = tempDir().string() + "/out/";
    EXPECT_EQ(WriteBinaryData(bin, dir.c_str()), 5);
    EXPECT_FAILED(3, 0, "WriteBinaryData", "wrote binary data to " + dir + "a.bin");
    EXPECT_EQ(readFile(tempDir() / "out" / "a.bin"), "hello");
    // Without a trailing separator the name is glued to the directory's last part.
    const std::string glued = tempDir().string() + "/out";
    EXPECT_EQ(WriteBinaryData(bin, glued.c_str()), 5);
    EXPECT_TRUE(fs::exists(tempDir() / "outa.bin"));
    ReleaseBinaryData(bin, 0);
}

TEST_F(BinaryData, WriteFailures) {
    char bytes[2] = {};
    EXPECT_EQ(WriteBinaryData(nullptr, "x"), -2);
    EXPECT_FAILED(1, -2, "WriteBinaryData", "binaryData is Null, cannot write binary data to file");
    QVBinaryData* bin = CreateBinaryData(nullptr, 2, "a.bin");
    EXPECT_EQ(WriteBinaryData(bin, dirWithSlash().c_str()), -2);
    EXPECT_FAILED(1, -2, "WriteBinaryData", "data pointer of binaryData is Null, cannot write binary data to file");
    bin->data = bytes;
    const std::string missing = tempDir().string() + "/no/such/dir/";
    EXPECT_EQ(WriteBinaryData(bin, missing.c_str()), -4);
    EXPECT_FAILED(1, -4, "WriteBinaryData", "could not open file " + missing + "a.bin for writing binary data");
    for (int size : {0, -7}) {  // a negative size writes nothing instead of a huge block
        bin->size = size;
        EXPECT_EQ(WriteBinaryData(bin, dirWithSlash().c_str()), -4);
        EXPECT_FAILED(1, -4, "WriteBinaryData", "no bytes written");
    }
    ReleaseBinaryData(bin, 0);
}

TEST_F(BinaryData, ReadBinaryDataPutsTheSeparatorBetweenDirectoryAndName) {
    fs::create_directories(tempDir() / "out");
    writeFile(tempDir() / "out" / "a.bin", std::string("\x01\x00\x02", 3));
    const std::string dir = (tempDir() / "out").string();
    QVBinaryData* bin = ReadBinaryData(dir.c_str(), "a.bin");
    ASSERT_NE(bin, nullptr);
    EXPECT_EQ(bin->size, 3);
    EXPECT_EQ(bin->ownsData, 1);
    EXPECT_STREQ(bin->name, "a.bin");
    EXPECT_EQ(std::string(static_cast<char*>(bin->data), 3), std::string("\x01\x00\x02", 3));
    EXPECT_EQ(ReleaseBinaryData(bin, 1), 0);  // frees the owned bytes without a notice
    EXPECT_EQ(count(), 0u);

    // With an empty or null name the directory text is the whole path.
    const std::string whole = (tempDir() / "out" / "a.bin").string();
    for (const char* name : {"", static_cast<const char*>(nullptr)}) {
        bin = ReadBinaryData(whole.c_str(), name);
        ASSERT_NE(bin, nullptr);
        EXPECT_EQ(bin->size, 3);
        EXPECT_STREQ(bin->name, "");
        ReleaseBinaryData(bin, 1);
    }
}

TEST_F(BinaryData, ReadBinaryDataFailures) {
    const std::string dir = tempDir().string();
    EXPECT_EQ(ReadBinaryData(dir.c_str(), "missing.bin"), nullptr);
    EXPECT_FAILED(1, -4, "ReadBinaryData", "could not open file " + dir + "/missing.bin for reading binary data");
    writeFile(tempDir() / "empty.bin", "");
    EXPECT_EQ(ReadBinaryData(dir.c_str(), "empty.bin"), nullptr);
    EXPECT_FAILED(1, -4, "ReadBinaryData", "file " + dir + "/empty.bin has size 0");
    // A directory is not a readable file.
    EXPECT_EQ(ReadBinaryData(dir.c_str(), nullptr), nullptr);
    EXPECT_FAILED(1, -4, "ReadBinaryData", "could not open file " + dir + " for reading binary data");
}

TEST_F(BinaryData, ReadBinaryIntoALargerBufferZeroesTheRest) {
    writeFile(tempDir() / "four.bin", "ABCD");
    std::vector<unsigned char> buffer(10, 0xAA);
    QVBinaryData* bin = CreateBinaryData(buffer.data(), 10, "four.bin");
    EXPECT_EQ(ReadBinary(bin, dirWithSlash().c_str()), buffer.data());
    EXPECT_FAILED(2, -5, "ReadBinary",
                  "data size of binaryData struct is bigger than the file size, data behind read data will be set to 0");
    EXPECT_EQ(buffer, (std::vector<unsigned char>{'A', 'B', 'C', 'D', 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(bin->size, 10);
    EXPECT_EQ(bin->ownsData, 0);
    ReleaseBinaryData(bin, 0);
}

TEST_F(BinaryData, ReadBinaryRefusesASmallerBufferAndFillsAnExactOne) {
    writeFile(tempDir() / "four.bin", "ABCD");
    std::vector<unsigned char> buffer(3, 0xAA);
    QVBinaryData* bin = CreateBinaryData(buffer.data(), 3, "four.bin");
    EXPECT_EQ(ReadBinary(bin, dirWithSlash().c_str()), nullptr);
    EXPECT_FAILED(1, -5, "ReadBinary",
                  "data size of binaryData struct is too small to fit the data from the file, no data read");
    EXPECT_EQ(buffer, std::vector<unsigned char>(3, 0xAA));
    buffer.assign(4, 0);
    bin->data = buffer.data();
    bin->size = 4;
    qvtest::clear();
    EXPECT_EQ(ReadBinary(bin, dirWithSlash().c_str()), buffer.data());
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(std::string(buffer.begin(), buffer.end()), "ABCD");
    ReleaseBinaryData(bin, 0);
}

TEST_F(BinaryData, ReadBinaryWithoutBufferAllocatesOneItOwns) {
    writeFile(tempDir() / "four.bin", "ABCD");
    QVBinaryData* bin = CreateBinaryData(nullptr, 0, "four.bin");
    void* data = ReadBinary(bin, dirWithSlash().c_str());
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(bin->data, data);
    EXPECT_EQ(bin->size, 4);
    EXPECT_EQ(bin->ownsData, 1);
    EXPECT_EQ(std::string(static_cast<char*>(data), 4), "ABCD");
    EXPECT_EQ(ReleaseBinaryData(bin, 1), 0);
    EXPECT_EQ(count(), 0u);
}

TEST_F(BinaryData, ReadBinaryFailures) {
    EXPECT_EQ(ReadBinary(nullptr, "x"), nullptr);
    EXPECT_FAILED(1, -2, "ReadBinary", "binaryData struct is Null, cannot read data from file");
    QVBinaryData* bin = CreateBinaryData(nullptr, 0, "none.bin");
    const std::string dir = dirWithSlash();
    EXPECT_EQ(ReadBinary(bin, dir.c_str()), nullptr);
    EXPECT_FAILED(1, -4, "ReadBinary", "could not open file " + dir + "none.bin for reading binary data");
    writeFile(tempDir() / "none.bin", "");
    EXPECT_EQ(ReadBinary(bin, dir.c_str()), nullptr);
    EXPECT_FAILED(1, -4, "ReadBinary", "file " + dir + "none.bin has size 0");
    EXPECT_EQ(bin->data, nullptr);
    ReleaseBinaryData(bin, 1);
}

TEST_F(BinaryData, WrittenBytesReadBackUnchanged) {
    std::vector<unsigned char> bytes(1000);
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(i * 7);
    QVBinaryData* out = CreateBinaryData(bytes.data(), 1000, "blob.bin");
    ASSERT_EQ(WriteBinaryData(out, dirWithSlash().c_str()), 1000);
    QVBinaryData* in = ReadBinaryData(tempDir().string().c_str(), "blob.bin");
    ASSERT_NE(in, nullptr);
    ASSERT_EQ(in->size, 1000);
    EXPECT_EQ(std::vector<unsigned char>(static_cast<unsigned char*>(in->data),
                                         static_cast<unsigned char*>(in->data) + 1000),
              bytes);
    ReleaseBinaryData(in, 1);
    ReleaseBinaryData(out, 0);
}

}  // namespace
