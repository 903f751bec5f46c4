#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace emantle::hfa {

/* The path text of an entry, with the place at which each name starts: names may hold the separator themselves. */
class Path {
public:
    const std::string& text() const { return text_; }
    std::size_t depth() const { return starts_.size(); }
    /* The length of the text of the parent. */
    std::size_t parentLength() const { return starts_.empty() ? 0 : starts_.back(); }

    void clear()
    {
        text_.resize(1);
        starts_.clear();
    }
    void push(std::string_view name)
    {
        starts_.push_back(text_.size());
        text_ += name;
        text_ += ':';
    }
    void pop();

private:
    std::string text_ = ":";
    std::vector<std::size_t> starts_;
};

}  // namespace emantle::hfa
