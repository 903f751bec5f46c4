#pragma once

#include <array>
#include <emantle/data/egda/basedata.h>

namespace emantle::tables {

/* A table of members by pixel type. */
template <class Member>
using Members = std::array<Member, EGDA_NUM_TYPES>;

/* `member` for every number type, and nothing for strings. */
template <class Member>
constexpr Members<Member> forNumbers(Member member)
{
    Members<Member> members{};
    for (int type = 0; type < EGDA_TYPE_STRING; ++type) {
        members[static_cast<std::size_t>(type)] = member;
    }
    return members;
}

}  // namespace emantle::tables
