#pragma once

#include <gtest/gtest.h>

#include <emantle/frame/emsc/heap.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>

/* A directory of the test's own, gone with it. */
class Scratch : public testing::Test {
protected:
    Scratch()
    {
        const auto* info = testing::UnitTest::GetInstance()->current_test_info();
        directory_ = std::filesystem::temp_directory_path() / ("emantle_" + std::string(info->test_suite_name()) + "_" +
                                                               info->name() + "_" + std::to_string(getpid()));
        std::filesystem::remove_all(directory_);
        std::filesystem::create_directories(directory_);
    }
    ~Scratch() override { std::filesystem::remove_all(directory_); }

    std::string path(const std::string& name = {}) const
    {
        return (name.empty() ? directory_ : directory_ / name).string();
    }

    void put(const std::string& name, const std::string& bytes) const
    {
        std::ofstream(path(name), std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }

    std::string contents(const std::string& name) const
    {
        std::ostringstream out;
        out << std::ifstream(path(name), std::ios::binary).rdbuf();
        return out.str();
    }

private:
    std::filesystem::path directory_;
};

/* Takes a heap text over. */
inline std::string taken(char* text)
{
    const std::string copy = text == nullptr ? "(null)" : text;
    emsc_HeapFree(text);
    return copy;
}
