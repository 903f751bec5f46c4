#include "platform/loader.h"

#include "platform/errors.h"
#include "platform/scratch_directory.h"

#include <cerrno>
#include <gtest/gtest.h>

using namespace emantle::platform;

namespace {

const std::string kProbe = EMANTLE_TEST_MODULES "/loader_probe_module.so";

} // namespace

TEST(Loader, ANameOfTheFormDllIsAlsoSoughtUnderTheNamesOfThisSystem)
{
    const struct {
        const char *file, *asked;
        bool found;
    } cases[] = {
        {"probe.dll", "probe.dll", true}, {"probe.so", "probe.dll", true},      {"libprobe.so", "probe.dll", true},
        {"probe.so", "probe.DLL", true},  {"probe.so", "probe.so", true},       {"libprobe.so", "probe.so", false},
        {"probe.so", "probe", false},     {"libprobe.so", "\\probe.dll", true},
    };
    for (const auto& [file, asked, found] : cases) {
        const ScratchDirectory scratch;
        std::filesystem::copy_file(kProbe, scratch / file);
        std::string reason;
        void* const library = openLibrary(scratch / asked, reason);
        ASSERT_EQ(library != nullptr, found) << file << ' ' << asked << ' ' << reason;
        if (!found) {
            EXPECT_FALSE(reason.empty());
            continue;
        }
        const auto probe = reinterpret_cast<int (*)()>(findSymbol(library, "loaderProbe"));
        ASSERT_NE(probe, nullptr);
        EXPECT_EQ(probe(), 4711);
        EXPECT_EQ(findSymbol(library, "noSuchSymbol"), nullptr);
        EXPECT_EQ(closeLibrary(library), 0);
    }
}

TEST(Loader, TheReasonIsThatOfTheFileThatIsThere)
{
    const ScratchDirectory scratch;
    std::ofstream(scratch / "libbad.so") << "no library at all, but long enough to hold the header of one..........";
    std::string reason;
    EXPECT_EQ(openLibrary(scratch / "bad.dll", reason), nullptr);
    EXPECT_EQ(errno, error::moduleNotFound);
    EXPECT_NE(reason.find("libbad.so"), reason.npos) << reason;
    EXPECT_EQ(openLibrary("", reason), nullptr);
    EXPECT_EQ(closeLibrary(nullptr), 0);
}
