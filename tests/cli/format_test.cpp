#include "cli/format_reader.h"
#include "cli/in_process.h"
#include "cli/store_maker.h"
#include "platform/scratch_directory.h"

#include <emantle/store/emif.h>

#include <fstream>
#include <gtest/gtest.h>
#include <re2/re2.h>
#include <set>
#include <sstream>

/* docs/format.md holds: its dump of a store is the store, and a reader written after it finds what the tool finds. */

namespace {

using Json = nlohmann::ordered_json;

const std::string kDocument = std::string(EMANTLE_SAMPLES) + "/../docs/format.md";

/* One entry with a record of an enumeration and two counted pointers, at fixed times. */
void makeTinyStore(const std::string& path)
{
    Report report;
    Ehfa_File* file = ehfa_FileCreate(path.c_str(), eint_InitToolkit(report), report);
    const Emif_Design* design = emif_DesignCreate(
        file->dictionary, "Track", report, EMIF_TYPE_ENUM, "kind", "road", "river", nullptr,
        EMIF_TYPE_CHAR | EMIF_ITEM_COUNTED_POINTER, "name", EMIF_TYPE_DOUBLE | EMIF_ITEM_COUNTED_POINTER, "points", 0);
    char name[] = "Ems";
    double points[] = {1.5, -2};
    const struct {
        std::int32_t kind;
        Emif_PTR name;
        Emif_PTR points;
    } record{1, {4, name}, {2, points}};
    ASSERT_NE(ehfa_ObjectWrite(file, ":", "Ems", "Track", EHFA_WRITE_LAST_CHILD, &record, design, report), nullptr);
    file->entry->modTime = 1.5e9;
    ASSERT_NE(ehfa_EntryWrite(file, EHFA_WRITE_CURRENT, nullptr, nullptr, report), nullptr);
    const double rootTime = 1e9;
    ASSERT_TRUE(ehfa_FileMIFDataWrite(file, file->rootEntryPtr + 120L, sizeof rootTime, &rootTime, report));
    ASSERT_TRUE(ehfa_FileClose(file, report));
}

/* A line of a dump: offset, bytes, and behind three blanks what they mean. */
std::string asDumpLine(const std::string& bytes, std::size_t offset, std::size_t size)
{
    char text[16];
    std::snprintf(text, sizeof text, "%04zx ", offset);
    std::string line = text;
    for (std::size_t i = 0; i < size && offset + i < bytes.size(); ++i) {
        std::snprintf(text, sizeof text, " %02x", static_cast<unsigned char>(bytes[offset + i]));
        line += text;
    }
    return line;
}

TEST(FormatDocument, DumpsTheStoreThatTheLibraryWrites)
{
    const ScratchDirectory scratch;
    makeTinyStore(scratch / "tiny.store");
    const std::string bytes = contentsOf(scratch / "tiny.store");
    std::istringstream page(contentsOf(kDocument));
    std::string line;
    while (line != "```hexdump" && std::getline(page, line)) {
    }
    const RE2 shape("([0-9a-f]{4})  ((?:[0-9a-f]{2} ?)+)(?:  .*)?");
    std::set<std::size_t> told;
    while (std::getline(page, line) && line != "```") {
        std::size_t offset = 0;
        std::string row;
        ASSERT_TRUE(RE2::FullMatch(line, shape, RE2::Hex(&offset), &row)) << line;
        const std::size_t size = (row.length() + 1) / 3;
        EXPECT_TRUE(line.starts_with(asDumpLine(bytes, offset, size)))
            << line << "\nthe store has\n" << asDumpLine(bytes, offset, size);
        for (std::size_t i = 0; i < size; ++i) {
            told.insert(offset + i);
        }
    }
    /* All but what is left in the free block behind its head. */
    const auto free = static_cast<std::size_t>(static_cast<unsigned char>(bytes[0x44]));
    EXPECT_EQ(told.size(), bytes.size() - (0x12a - 8));
    EXPECT_EQ(told.count(free + 8), 0U);
}

/* What the tool's text says of a store against what the reader finds; positions are not part of the text. */
void expectAgreement(const std::string& path)
{
    FormatReader reader(contentsOf(path));
    const InProcess dumped = runHere({"dump", path});
    ASSERT_EQ(dumped.status, 0) << dumped.failure;
    std::istringstream lines(dumped.out);
    std::vector<Json> entries;
    std::size_t designs = 0;
    for (std::string line; std::getline(lines, line);) {
        const Json json = Json::parse(line);
        designs += json.contains("design") ? 1 : 0;
        if (json.contains("depth")) {
            entries.push_back(json);
        }
    }
    EXPECT_EQ(designs, reader.designs().size());
    std::vector<Json> found = reader.entries();
    ASSERT_EQ(found.size(), entries.size());
    for (std::size_t i = 0; i < found.size(); ++i) {
        if (found[i]["type"] == "Edsc_Column") {
            found[i]["data"]["columnDataPtr"] = 0;
        }
        if (entries[i].contains("bytes")) {
            entries[i].erase("bytes");
        }
        EXPECT_EQ(found[i], entries[i]);
    }
}

TEST(FormatReader, AgreesWithTheToolOnTheSample)
{
    const ScratchDirectory scratch;
    for (const char* bins : {"linear:20", "unique", "log:7"}) {
        SCOPED_TRACE(bins);
        const std::string path = scratch / "sample.store";
        ASSERT_EQ(runHere({"describe", std::string(EMANTLE_SAMPLES) + "/landsat7_olinda.tif", "-o", path, "--force",
                           "--bins", bins, "--exclude", "0", "--quiet"})
                      .status,
                  0);
        expectAgreement(path);
    }
}

TEST(FormatReader, AgreesWithTheToolOnEveryKindOfItem)
{
    const ScratchDirectory scratch;
    makeEveryStore(scratch / "every.store");
    expectAgreement(scratch / "every.store");
    makeTinyStore(scratch / "tiny.store");
    expectAgreement(scratch / "tiny.store");
}

}  // namespace
