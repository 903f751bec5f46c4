#include <emantle/siblings/orviklog.h>

#include <cstring>

namespace OrvikLog {

namespace {

/* ".\family" of a function named family_Something; empty where the name has no family. */
std::string sourcePathOf(const char* function)
{
    const char* end = function == nullptr ? nullptr : std::strchr(function, '_');
    return end == nullptr ? std::string() : ".\\" + std::string(function, end);
}

}  // namespace

Name& Name::operator=(const Name& other)
{
    if (this != &other) {
        if (other.text_ == other.copy_.c_str()) {
            Set(other.text_);
        } else {
            text_ = other.text_;
        }
    }
    return *this;
}

void Name::Set(const char* text)
{
    if (text == nullptr) {
        text_ = nullptr;
    } else {
        copy_ = text;
        text_ = copy_.c_str();
    }
}

Message::~Message() = default;

void Message::Log(long line, const char* text)
{
    line_ = line;
    what_.Set(text == nullptr ? "" : text);
}

void Message::Log(long line)
{
    line_ = line;
}

Message& Message::operator=(const Message& other) = default;

long Message::get_LineNum() const noexcept
{
    return line_;
}

const char* Message::get_What()
{
    return what_.get();
}

const char* Message::get_FileName() const
{
    if (file_.get() == nullptr) {
        const std::string path = sourcePathOf(function_.get());
        file_.Set(path.empty() ? nullptr : path.c_str());
    }
    return file_.get();
}

Exception::~Exception() = default;

void Exception::Log(long line, Exception& caught)
{
    Message::Log(line, caught.get_What());
}

void Exception::Throw(long line, const char* text)
{
    Message::Log(line, text);
    throw Exception(*this);
}

Exception& Exception::operator=(const Exception& other)
{
    Message::operator=(other);
    return *this;
}

UnthrownException::~UnthrownException() = default;

void UnthrownException::Check(long line)
{
    setLine(line);
}

UnthrownException& UnthrownException::operator=(const UnthrownException& other)
{
    Exception::operator=(other);
    return *this;
}

void UnthrownException::Clear()
{
    Message::Log(0, "");
}

}  // namespace OrvikLog
