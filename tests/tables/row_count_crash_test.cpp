#include "platform/faults.h"
#include "store/hfa/store_fixture.h"
#include "tables/binfunction_helpers.h"

#include <emantle/tables/edsc.h>
#include <map>
#include <span>

namespace {

using emantle::platform::RecordedWrite;

struct Close {
    void operator()(Edsc_TableInstance* table) const { edsc_TableClose(table, nullptr); }
    void operator()(Edsc_ColumnInstance* column) const { edsc_ColumnClose(column, nullptr); }
};
template <class Record>
using Own = std::unique_ptr<Record, Close>;

constexpr const char* kNames[] = {"First", "Second", "Third"};
constexpr std::int32_t kRows = 3000;

class RowCountCrash : public StoreTest, public testing::WithParamInterface<std::int32_t> {
protected:
    Own<Edsc_TableInstance> table(Eerr_ErrorReport** err)
    {
        return Own<Edsc_TableInstance>(
            edsc_TableOpen(file_, ":", "Table", EHFA_SEEK_CHILD_NAME, nullptr, err));
    }

    /* Three columns, each with its own numbers in every row. */
    void build()
    {
        create();
        const Own<Edsc_TableInstance> made(edsc_TableCreate(file_, ":", "Table", EHFA_WRITE_LAST_CHILD, kRows,
                                                            direct(0, 1).get(), expected(), nullptr));
        for (int at = 0; at < 3; ++at) {
            const Own<Edsc_ColumnInstance> column(
                edsc_ColumnCreate(made.get(), kNames[at], EDSC_COLUMN_REAL, expected(), nullptr));
            std::vector<double> values(kRows);
            for (std::size_t row = 0; row < values.size(); ++row) {
                values[row] = static_cast<double>(row) * 10 + at;
            }
            ASSERT_TRUE(edsc_ColumnWrite(column.get(), 0, kRows, doubles(values).get(), expected()));
        }
        write(EHFA_WRITE_LAST_CHILD, "Behind"); /* so that growing columns move */
    }

    /* What a reader finds: the table's rows, or -1 when the store cannot be read; the columns are as long and hold what
     * they held. */
    std::int32_t rowsFound()
    {
        Report report;
        if (open("rb") == nullptr) {
            return -1;
        }
        const Own<Edsc_TableInstance> found = table(report);
        EXPECT_NE(found, nullptr) << rootCause(report);
        if (found == nullptr) {
            return -1;
        }
        for (int at = 0; at < 3; ++at) {
            Report opening;
            const Own<Edsc_ColumnInstance> column(edsc_ColumnOpen(found.get(), kNames[at], opening, nullptr));
            EXPECT_NE(column, nullptr) << kNames[at] << ": " << rootCause(opening);
            const std::int32_t kept = std::min(found->numRows, kRows);
            const BaseData rows(egda_TableCreate(kept, EGDA_TYPE_F64, nullptr));
            if (column == nullptr || !edsc_ColumnRead(column.get(), 0, kept, rows.get(), opening)) {
                ADD_FAILURE() << kNames[at] << ": " << rootCause(opening);
                continue;
            }
            for (std::int32_t row = 0; row < kept; ++row) {
                if (static_cast<double*>(rows->data)[row] != row * 10.0 + at) {
                    ADD_FAILURE() << kNames[at] << " has lost row " << row << " of " << kept;
                    break;
                }
            }
        }
        return found->numRows;
    }
};

/* A crash between any two writes, and in the middle of each. */
TEST_P(RowCountCrash, LeavesColumnsAtLeastAsLongAsTheTableSays)
{
    build();
    close();
    const Bytes bytesBefore = bytesOf(name_);
    const auto* first = reinterpret_cast<const std::byte*>(bytesBefore.data());
    const std::vector<std::byte> before(first, first + bytesBefore.size());
    std::vector<RecordedWrite> writes;
    {
        const emantle::platform::WriteRecorder recorder("store.img");
        open();
        const Own<Edsc_TableInstance> opened = table(expected());
        ASSERT_TRUE(edsc_TableRowCountSet(opened.get(), GetParam(), expected()));
        close();
        writes = recorder.writes();
    }
    ASSERT_GT(writes.size(), 0U);
    std::map<std::int32_t, int> found;
    for (std::size_t whole = 0; whole <= writes.size(); ++whole) {
        for (const bool isTorn : {false, true}) {
            std::vector<RecordedWrite> prefix(writes.begin(), writes.begin() + static_cast<long>(whole));
            if (isTorn) {
                if (whole == writes.size() || writes[whole].bytes.size() < 2) {
                    continue;
                }
                prefix.push_back(writes[whole]);
                prefix.back().bytes.resize(writes[whole].bytes.size() / 2);
            }
            SCOPED_TRACE("after " + std::to_string(whole) + (isTorn ? " and a half" : "") + " of " +
                         std::to_string(writes.size()) + " writes");
            const std::vector<std::byte> after = emantle::platform::afterWrites(before, prefix);
            const auto* bytes = reinterpret_cast<const unsigned char*>(after.data());
            putBytes(name_, Bytes(bytes, bytes + after.size()));
            ++found[rowsFound()];
            close();
        }
    }
    for (const auto& [rows, times] : found) {
        EXPECT_TRUE(rows == kRows || rows == GetParam()) << rows << ", " << times << " times";
    }
    EXPECT_GT(found[kRows], 0);
    EXPECT_GT(found[GetParam()], 0);
}

INSTANTIATE_TEST_SUITE_P(Rows, RowCountCrash, testing::Values(1, 1500, kRows + 1, 9000));

}  // namespace
