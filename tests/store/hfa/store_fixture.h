#pragma once

#include "frame/memory/heap_ptr.h"
#include "support/chain.h"

#include <emantle/store/ehfa.h>
#include <emantle/store/emif.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

using Bytes = std::vector<unsigned char>;

inline Bytes bytesOf(const std::string& name)
{
    std::ifstream in(name, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

inline void putBytes(const std::string& name, const Bytes& bytes)
{
    /* A file that is emptied and filled again is written to the medium at its close; a new one is not. */
    std::filesystem::remove(name);
    std::ofstream(name, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

inline uint32_t word(const Bytes& bytes, std::size_t at)
{
    return bytes.at(at) | bytes.at(at + 1) << 8 | bytes.at(at + 2) << 16 | uint32_t(bytes.at(at + 3)) << 24;
}

inline void setWord(Bytes& bytes, std::size_t at, uint32_t value)
{
    for (std::size_t i = 0; i < 4; ++i) {
        bytes.at(at + i) = static_cast<unsigned char>(value >> (8 * i));
    }
}

/* The texts of a chain that was not expected; "" when there is none. */
inline std::string told(const Report& report)
{
    std::string text;
    for (const Record& record : report.records()) {
        text += record.function + ": " + record.message.value_or("-") + "\n";
    }
    return text;
}

/* A directory of its own and the calls on a store that most tests make. */
class StoreTest : public testing::Test {
protected:
    StoreTest()
    {
        char name[] = "/tmp/hfa_testXXXXXX";
        directory_ = mkdtemp(name);
        name_ = directory_ + "/store.img";
    }
    ~StoreTest() override
    {
        close();
        std::filesystem::remove_all(directory_);
    }

    Ehfa_File* create() { return file_ = ehfa_FileCreate(name_.c_str(), eint_GetInit(), expected()); }
    Ehfa_File* open(const char* mode = "r+b")
    {
        return file_ = ehfa_FileOpen(name_.c_str(), mode, eint_GetInit(), expected());
    }
    void close()
    {
        if (file_ != nullptr) {
            ehfa_FileClose(file_, expected());
        }
        file_ = nullptr;
    }
    /* An error argument whose chain, if any, fails the test. */
    struct Expected {
        Report report;
        ~Expected() { EXPECT_EQ(told(report), ""); }
        operator Eerr_ErrorReport**() { return report; }
    };
    static Expected expected() { return {}; }

    Ehfa_Entry* write(long method, const char* name, const char* type = "T")
    {
        return ehfa_EntryWrite(file_, method, name, type, expected());
    }
    bool seek(long method, const char* name = nullptr) { return ehfa_EntrySeek(file_, method, name, expected()) != nullptr; }
    std::string path() const { return file_->path; }
    uint32_t allocate(long size) { return ehfa_NextFreePos(file_, size, expected()); }
    void release(uint32_t position, long size) { ehfa_FreeSpace(file_, position, size, expected()); }

    std::vector<std::string> paths(const char* start = ":", const char* name = nullptr, const char* type = nullptr)
    {
        EstrStringList list(ehfa_ObjectList(file_, start, name, type, expected()));
        std::vector<std::string> result;
        for (int i = 0; list != static_cast<Estr_StringList*>(nullptr) && i < list->count; ++i) {
            result.emplace_back(list->strings[i]);
        }
        return result;
    }

    std::string directory_;
    std::string name_;
    Ehfa_File* file_ = nullptr;
};

/* Two numbers and a text of any length. */
struct Sample {
    int32_t number;
    double weight;
    struct {
        int32_t count;
        char* text;
    } label;
};

inline EmifDesignT<Etxt_TextA>& sampleDesign()
{
    static EmifDesignT<Etxt_TextA> design(
        emif_DesignCreate(nullptr, "Sample", nullptr, EMIF_TYPE_LONG, "number", EMIF_TYPE_DOUBLE, "weight",
                          int{EMIF_TYPE_CHAR} | int{EMIF_ITEM_COUNTED_POINTER}, "label", 0));
    return design;
}
