#include "store/hfa/store_fixture.h"

#include <emantle/files/efio.h>

namespace {

class FileSearch : public StoreTest {
protected:
    ~FileSearch() override
    {
        efio_FreeSL(list_);
        ehfa_PackageDisable(0);
    }
    Ehfa_File* find(const char* name, Eerr_ErrorReport** err)
    {
        return ehfa_SearchListFileOpen(name, list_, "r", eint_GetInit(), err);
    }
    void search(const std::string& directory)
    {
        list_ = efio_CreateSLFromString(list_, directory.c_str(), expected());
    }

    Efio_SearchList* list_ = nullptr;
};

TEST_F(FileSearch, OpensTheFirstOfThatName)
{
    create();
    close();
    const std::string later = directory_ + "/later";
    std::filesystem::create_directory(later);
    std::filesystem::copy(name_, later + "/store.img");
    putBytes(later + "/alien.img", Bytes(100));
    search(directory_ + ";" + later);

    file_ = find("store.img", expected());
    ASSERT_NE(file_, nullptr);
    EXPECT_EQ(file_->name, name_);
    EXPECT_TRUE(file_->readOnly);
    close();
    EXPECT_EQ(find("none.img", expected()), nullptr) << "which is no failure";
    Report report;
    EXPECT_EQ(find("alien.img", report), nullptr);
    EXPECT_EQ(told(report), "ehfa_SearchListFileOpen: Error returned from ehfa_FileOpen\n"
                            "ehfa_FileOpen: File " + later + "/alien.img is not an EHFA file\n");
    Report nulls;
    EXPECT_EQ(ehfa_SearchListFileOpen("store.img", nullptr, "r", eint_GetInit(), nulls), nullptr);
    EXPECT_EQ(told(nulls), "ehfa_SearchListFileOpen: Args\n");
}

TEST_F(FileSearch, NewHandlesAreRefusedWhileThePackageIsDisabled)
{
    create();
    ehfa_PackageDisable(1);
    EXPECT_NE(write(EHFA_WRITE_LAST_CHILD, "A"), nullptr) << "what is open stays";
    const std::string other = directory_ + "/other.img";
    Report created;
    EXPECT_EQ(ehfa_FileCreate(other.c_str(), eint_GetInit(), created), nullptr);
    EXPECT_EQ(told(created), "ehfa_FileCreate: Ehfa package is disabled\n");
    EXPECT_FALSE(std::filesystem::exists(other));
    close();
    Report opened;
    EXPECT_EQ(ehfa_FileOpen(name_.c_str(), "r", eint_GetInit(), opened), nullptr);
    EXPECT_EQ(told(opened), "ehfa_FileOpen: Ehfa package is disabled\n");
    ehfa_PackageDisable(0);
    EXPECT_NE(open(), nullptr);
}

TEST_F(FileSearch, AHeaderThatIsHeldBackIsRewrittenLater)
{
    create();
    const auto version = [&] {
        ehfa_FileFlush(file_, expected());
        return word(bytesOf(name_), file_->headerPtr);
    };
    file_->version = 2;
    EXPECT_TRUE(ehfa_HeaderReWrite(file_, expected()));
    EXPECT_EQ(version(), 2u);
    ehfa_FileChange(file_, expected(), EHFA_OPTION_FLUSH_ON_WRITE, 0, 0);
    file_->version = 1;
    EXPECT_TRUE(ehfa_HeaderReWrite(file_, expected()));
    EXPECT_EQ(version(), 2u);
    ehfa_FileChange(file_, expected(), EHFA_OPTION_FLUSH_ON_WRITE, 1, 0);
    EXPECT_EQ(version(), 1u);
    Report report;
    EXPECT_FALSE(ehfa_HeaderReWrite(nullptr, report));
    EXPECT_EQ(told(report), "ehfa_HeaderReWrite: Invalid EHFA file handle\n");
}

}  // namespace
