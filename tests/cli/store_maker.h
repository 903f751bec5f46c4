#pragma once

#include "support/chain.h"

#include <emantle/frame/eint.h>
#include <emantle/store/ehfa.h>

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <string>

/* Bytes put together by hand, little-endian as this host is. */
class ByteMaker {
public:
    template <class T>
    ByteMaker& add(T value)
    {
        const auto* from = reinterpret_cast<const char*>(&value);
        bytes_.append(from, sizeof value);
        return *this;
    }
    ByteMaker& text(const std::string& text)
    {
        bytes_ += text;
        return *this;
    }
    /* What stands before the elements behind a pointer. */
    ByteMaker& head(std::uint32_t count) { return add(count).add(std::uint32_t{8}); }
    operator const std::string&() const { return bytes_; }

private:
    std::string bytes_;
};

/* A store made through the library, from bytes. */
class MadeStore {
public:
    explicit MadeStore(const std::string& path, const std::string& designs = ".")
        : file_(ehfa_FileCreate(path.c_str(), eint_InitToolkit(report_), report_))
    {
        Emif_Dictionary* dictionary = emif_DictionaryDecodeFromString(designs.c_str(), report_);
        for (Emif_Design* design = dictionary->first; design != nullptr; design = design->next) {
            emif_DictionaryAddDesign(file_->dictionary, design, report_);
        }
        emif_DictionaryDelete(dictionary, report_);
    }
    ~MadeStore()
    {
        EXPECT_TRUE(ehfa_FileClose(file_, report_));
        EXPECT_TRUE(report_.records().empty());
    }
    MadeStore(const MadeStore&) = delete;
    MadeStore& operator=(const MadeStore&) = delete;

    Ehfa_File* get() const { return file_; }

    /* An object as the last child of `parent`, with a time of its own. */
    void add(const std::string& parent, const std::string& name, const std::string& type, const std::string& bytes)
    {
        ehfa_ObjectDataWrite(file_, parent.c_str(), name.c_str(), type.c_str(), EHFA_WRITE_LAST_CHILD, bytes.data(),
                             static_cast<long>(bytes.size()), report_);
        setTime(1.5e9 + number_++);
    }
    void setTime(double time)
    {
        file_->entry->modTime = time;
        EXPECT_NE(ehfa_EntryWrite(file_, EHFA_WRITE_CURRENT, nullptr, nullptr, report_), nullptr);
    }
    void setRootTime(double time) const
    {
        EXPECT_TRUE(ehfa_FileMIFDataWrite(file_, static_cast<long>(file_->rootEntryPtr) + 120, sizeof time, &time, nullptr));
    }

    /* The position of a new block with these bytes. */
    std::uint32_t block(const std::string& bytes)
    {
        const std::uint32_t position = ehfa_NextFreePos(file_, static_cast<long>(bytes.size()), report_);
        EXPECT_TRUE(ehfa_FileMIFDataWrite(file_, position, static_cast<long>(bytes.size()), bytes.data(), report_));
        return position;
    }

private:
    Report report_;
    Ehfa_File* file_;
    int number_ = 0;
};

inline const char kEveryDesign[] =
    "{1:la,0:pcb,}Inner,"
    "{1:1bit,10:1bits,5:2twos,3:4fours,1:Cbyte,3:Cbytes,1:cletter,8:ctext,1:Sushort,2:sshorts,1:Lulong,1:llong,2:iints,"
    "1:ffloat,3:ddoubles,1:mcomplex,1:Mdcomplex,1:ttime,1:e3:red,green,blue,colour,0:pcname,0:pdpoints,1:*llist,"
    "1:x{1:Sdeep,}Deep,record,2:oInner,named,1:bvalues,0:p1flags,1:*bmatrix,0:pCraw,0:pdnone,}Every,.";

/* A record of every kind of item. */
inline std::string everyRecord()
{
    ByteMaker bytes;
    bytes.text("\x01").text("\x55\x02").text("\x1b\x03").text("\x21\x0f").text("\xfe").text({"\0\x7f\xff", 3}).text("q");
    bytes.text({"track\0\0\0", 8}).add<std::uint16_t>(65535).add<std::int16_t>(-32768).add<std::int16_t>(32767);
    bytes.add<std::uint32_t>(0xffffffff).add<std::int32_t>(-2147483647 - 1).add<std::int32_t>(0).add<std::int32_t>(-1);
    bytes.add(0.1f).add(std::numeric_limits<double>::quiet_NaN()).add(-std::numeric_limits<double>::infinity()).add(-0.0);
    bytes.add(1.5f).add(-2.5f).add(1e300).add(5e-324).add(1.5e9).add<std::uint16_t>(2);
    bytes.head(5).text({"Ems\xc3\xa4", 5}).text({"\0", 0});
    std::string whole = bytes;
    whole.replace(whole.size() - 13, 4, std::string("\x06\0\0\0", 4)); /* six characters with the NUL */
    ByteMaker more;
    more.text(whole).text(std::string(1, '\0'));
    more.head(2).add(0.5).add(-7.25).head(3).add<std::int32_t>(1).add<std::int32_t>(2).add<std::int32_t>(3);
    more.add<std::uint16_t>(77);
    more.add<std::int32_t>(5).head(2).text({"x\0", 2}).add<std::int32_t>(6).head(0);
    more.add<std::int32_t>(2).add<std::int32_t>(10).add<std::uint16_t>(0).add<std::uint16_t>(3).text({"\xff\x03\0\x01", 4});
    more.head(9).text({"\xaa\x01", 2});
    more.head(1).add<std::int32_t>(2).add<std::int32_t>(3).add<std::uint16_t>(6).add<std::uint16_t>(2);
    for (std::int16_t i = -3; i < 3; ++i) {
        more.add(i);
    }
    return more.head(4).text("\xde\xad\xbe\xef").head(0);
}

/* Objects of every kind, of which readers of the format agree on every value. */
inline void makeEveryStore(const std::string& path)
{
    MadeStore store(path, kEveryDesign);
    store.setRootTime(1e9);
    store.add(":", "every", "Every", everyRecord());
    store.add(":every", "deep", "Inner", ByteMaker().add<std::int32_t>(-5).head(4).text({"Elb\0", 4}));
    store.add(":every:deep", "empty", "", "");
    store.add(":", "unknown", "Nobody", "\x01\x02\xff");
}
