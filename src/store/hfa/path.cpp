#include "store/hfa/path.h"

#include "frame/guard/guard.h"

namespace emantle::hfa {

void Path::pop()
{
    require(!starts_.empty(), "Unexpected path pop problem");
    text_.resize(starts_.back());
    starts_.pop_back();
}

}  // namespace emantle::hfa
