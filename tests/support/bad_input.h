#pragma once

#include "support/chain.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <deque>
#include <emantle/frame/emsc/heap.h>
#include <emantle/frame/estr/list.h>
#include <emantle/frame/etxt/text.h>
#include <limits>
#include <memory>
#include <random>
#include <tuple>
#include <type_traits>

/* Keeps what is printed out of the test's output. */
class Quiet {
public:
    Quiet() { testing::internal::CaptureStderr(); }
    ~Quiet() { testing::internal::GetCapturedStderr(); }
    Quiet(const Quiet&) = delete;
    Quiet& operator=(const Quiet&) = delete;
};

/* Calls functions with bad arguments: every combination, or many of them. A text stands in a block of just its size, so
 * that the sanitizer sees one byte too many. A `long` behind a `char*` is the size of that buffer. What a call gives is
 * taken back, unless it lies in an argument; where it reports, the report has a text and the result is that of a
 * failure. */
class BadInput {
public:
    explicit BadInput(std::vector<std::string> texts) : texts_(std::move(texts)) {}

    template <class Result, class... Arguments> void call(const char* name, Result (*function)(Arguments...))
    {
        SCOPED_TRACE(name);
        digits_.clear();
        random_.seed(1);
        std::size_t calls = 1;
        for (std::size_t made = 0; made < calls && !testing::Test::HasFailure(); ++made) {
            place_ = 0;
            size_ = -1;
            one(function);
            if (made == 0) {
                for (const Digit& digit : digits_) {
                    calls *= digit.radix;
                }
                many_ = calls > kMostCalls;
                calls = std::min(calls, kMostCalls);
            }
            count();
        }
        many_ = false;
    }

private:
    static constexpr std::size_t kMostCalls = 1500;

    struct Digit {
        std::size_t value, radix;
    };
    struct Block {
        const char* begin;
        std::size_t size;
    };

    std::size_t pick(std::size_t radix)
    {
        if (place_ == digits_.size()) {
            digits_.push_back({0, radix});
        }
        const std::size_t value = many_ ? random_() % radix : digits_[place_].value;
        ++place_;
        return value;
    }

    void count()
    {
        for (Digit& digit : digits_) {
            if (++digit.value < digit.radix) {
                return;
            }
            digit.value = 0;
        }
    }

    template <class T> T pickOf(std::initializer_list<T> values) { return values.begin()[pick(values.size())]; }

    char* text()
    {
        const std::size_t which = pick(texts_.size() + 1);
        if (which == texts_.size()) {
            size_ = 0;
            return nullptr;
        }
        const std::string& source = texts_[which];
        std::unique_ptr<char[]> copy(new char[source.size() + 1]);
        std::memcpy(copy.get(), source.c_str(), source.size() + 1);
        size_ = static_cast<long>(source.size()) + 1;
        blocks_.push_back({copy.get(), source.size() + 1});
        owned_.push_back(std::move(copy));
        return const_cast<char*>(blocks_.back().begin);
    }

    template <class T> T argument()
    {
        if constexpr (std::is_same_v<T, char*>) {
            return text();
        } else if constexpr (std::is_same_v<T, const char*>) {
            const char* const given = text();
            size_ = -1;
            return given;
        } else if constexpr (std::is_same_v<T, const Etxt_TextU*>) {
            return pickOf<T>({u"", u"a\xD800", u"\xDC00\xFFFF", nullptr});
        } else if constexpr (std::is_same_v<T, Eerr_ErrorReport**>) {
            return &report_;
        } else if constexpr (std::is_same_v<T, long>) {
            return size_ >= 0 ? pickOf<T>({std::exchange(size_, -1), 0, -1})
                              : pickOf<T>({3, 0, -1, LONG_MAX, LONG_MIN, 1});
        } else if constexpr (std::is_floating_point_v<T>) {
            return pickOf<T>({0, std::numeric_limits<T>::quiet_NaN(), std::numeric_limits<T>::infinity(),
                              -std::numeric_limits<T>::max()});
        } else if constexpr (std::is_integral_v<T>) {
            return pickOf<T>({1, 0, std::numeric_limits<T>::min(), std::numeric_limits<T>::max()});
        } else {
            static_assert(std::is_same_v<std::remove_const_t<std::remove_pointer_t<T>>, Estr_StringList>);
            return list();
        }
    }

    Estr_StringList* list()
    {
        const std::size_t which = pick(3);
        if (which == 0) {
            return nullptr;
        }
        EstrStringList& made = lists_.emplace_back(estr_StringListCreate(which == 1 ? 0 : 2, nullptr));
        if (which == 2) {
            Estr_StringList* const filled = made;
            filled->strings[1] = static_cast<char*>(emsc_HeapMalloc(2));
            filled->strings[1][0] = '\xFF';
        }
        return made;
    }

    bool isGiven(const void* address)
    {
        for (const Block& block : blocks_) {
            if (!std::less<const void*>()(address, block.begin) &&
                std::less<const void*>()(address, block.begin + block.size)) {
                return true;
            }
        }
        for (EstrStringList& list : lists_) {
            if (static_cast<const Estr_StringList*>(list) == address) {
                return true;
            }
        }
        return address == nullptr;
    }

    template <class Result> bool isFailure(Result result)
    {
        if constexpr (std::is_pointer_v<Result>) {
            return isGiven(result);
        } else {
            return !(result > 0);
        }
    }

    template <class Result> void takeBack(Result result)
    {
        if constexpr (std::is_pointer_v<Result>) {
            if constexpr (std::is_same_v<std::remove_const_t<std::remove_pointer_t<Result>>, char>) {
                EXPECT_LT(result == nullptr ? 0 : std::strlen(result), 1U << 20);
            }
            if (!isGiven(result)) {
                if constexpr (std::is_same_v<Result, Estr_StringList*>) {
                    estr_StringListDelete(result, nullptr);
                } else {
                    emsc_HeapFree(const_cast<std::remove_const_t<std::remove_pointer_t<Result>>*>(result));
                }
            }
        }
    }

    template <class Result, class... Arguments> void one(Result (*function)(Arguments...))
    {
        report_ = nullptr;
        std::tuple<Arguments...> arguments{argument<Arguments>()...};
        if constexpr (std::is_void_v<Result>) {
            std::apply(function, arguments);
        } else {
            const Result result = std::apply(function, arguments);
            const bool failed = report_ != nullptr && report_->type != EERR_WARNING;
            EXPECT_TRUE(!failed || isFailure(result)) << recordsOf(report_).back();
            takeBack(result);
        }
        if (report_ != nullptr) {
            EXPECT_NE(recordsOf(report_).back().message.value_or(""), "");
            eerr_DeleteErrorReportEx(&report_);
        }
        owned_.clear();
        blocks_.clear();
        lists_.clear();
    }

    std::vector<std::string> texts_;
    std::vector<Digit> digits_;
    std::size_t place_ = 0;
    bool many_ = false;
    long size_ = -1; /* of the buffer given last, until it is used */
    std::mt19937 random_;
    Eerr_ErrorReport* report_ = nullptr;
    std::vector<std::unique_ptr<char[]>> owned_;
    std::vector<Block> blocks_;
    std::deque<EstrStringList> lists_;
};

#define EMANTLE_CALL_BADLY(sweep, function) (sweep).call(#function, function)
