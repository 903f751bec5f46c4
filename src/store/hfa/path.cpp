#include "store/hfa/path.h"

#include "frame/guard/guard.h"

namespace emantle::hfa {

void Path::clear()
{
    text_ = ":";
    starts_.clear();
}

void Path::push(std::string_view name)
{
    starts_.push_back(text_.size());
    text_ += name;
    text_ += ':';
}

void Path::pop()
{
    require(!starts_.empty(), "Unexpected path pop problem");
    text_.resize(starts_.back());
    starts_.pop_back();
}

}  // namespace emantle::hfa
