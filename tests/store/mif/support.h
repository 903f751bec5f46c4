#pragma once

#include "store/mif/owners.h"

#include <emantle/store/emif.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

// What the tests of the encoding share: texts of report chains, bytes, designs made from their text.
namespace mif_test {

using emantle::mif::DesignPtr;
using emantle::mif::DictionaryPtr;
using Bytes = std::vector<std::uint8_t>;

// An error argument that owns its chain.
class Report {
public:
    Report() = default;
    ~Report() { eerr_DeleteErrorReportEx(&chain_); }
    Report(const Report&) = delete;
    Report& operator=(const Report&) = delete;

    operator Eerr_ErrorReport**()
    {
        eerr_DeleteErrorReportEx(&chain_);
        return &chain_;
    }
    // "function: text" a record, newest first, with " / " between.
    std::string text() const
    {
        std::string all;
        for (const Eerr_ErrorReport* each = chain_; each != nullptr; each = each->next) {
            all += all.empty() ? "" : " / ";
            all += std::string(each->function) + ": " + (each->message == nullptr ? "" : each->message);
        }
        return all;
    }

private:
    Eerr_ErrorReport* chain_ = nullptr;
};

// Keeps what is printed while it lives.
class Printed {
public:
    Printed() { eerr_SetAltErrorFunction(take, this); }
    ~Printed() { eerr_SetAltErrorFunction(nullptr, nullptr); }
    Printed(const Printed&) = delete;
    Printed& operator=(const Printed&) = delete;

    std::string text;

private:
    static void take(void* data, Eerr_ErrorReport* report, Eerr_ErrorReportingMode, Eerr_ErrorReport**)
    {
        for (; report != nullptr; report = report->next) {
            static_cast<Printed*>(data)->text += std::string(report->function) + ": " +
                                                 (report->message == nullptr ? "" : report->message) + "\n";
        }
    }
};

inline DictionaryPtr dictionaryOf(const std::string& text)
{
    Report report;
    DictionaryPtr dictionary(emif_DictionaryDecodeFromString(text.c_str(), report));
    EXPECT_TRUE(dictionary) << report.text();
    return dictionary;
}

// The last design of a text, without its ".".
inline DesignPtr designOf(const std::string& text)
{
    const DictionaryPtr dictionary = dictionaryOf(text + ".");
    return dictionary == nullptr ? nullptr : DesignPtr(emif_DesignCopy(dictionary->last, nullptr));
}

inline std::string encoded(Emif_Dictionary& dictionary)
{
    char* text = emif_DictionaryEncodeToString(&dictionary, nullptr);
    std::string copy = text == nullptr ? "" : text;
    emsc_HeapFree(text);
    return copy;
}

inline std::string encoded(const Emif_Design& design)
{
    const DictionaryPtr dictionary(emif_DictionaryCreate(nullptr));
    emif_DictionaryAddDesign(dictionary.get(), &design, nullptr);
    return encoded(*dictionary);
}

inline std::string namesIn(const Emif_Dictionary& dictionary)
{
    std::string names;
    for (const Emif_Design* design = dictionary.first; design != nullptr; design = design->next) {
        names += std::string(design->name) + " ";
    }
    return names;
}

// A record of the heap that goes with its design.
template <class Record>
class Object {
public:
    Object(const Emif_Design& design, void* object) : design_(design), object_(object) {}
    explicit Object(const Emif_Design& design) : Object(design, emif_ObjectAllocate(&design, nullptr)) {}
    ~Object()
    {
        if (object_ != nullptr) {
            emif_ObjectFree(&object_, &design_, nullptr);
        }
    }
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    Record* operator->() const { return static_cast<Record*>(object_); }
    void* get() const { return object_; }

private:
    const Emif_Design& design_;
    void* object_;
};

template <class T>
T* heapCopy(std::initializer_list<T> values)
{
    auto* block = static_cast<T*>(emsc_HeapMalloc(static_cast<long>(values.size() * sizeof(T))));
    std::copy(values.begin(), values.end(), block);
    return block;
}

template <class T>
struct Counted {
    std::int32_t count;
    T* pointer;
};

}  // namespace mif_test
