#ifndef EMANTLE_SIBLINGS_ORVIKLOG_H
#define EMANTLE_SIBLINGS_ORVIKLOG_H

#include <emantle/frame/export.h>

#ifdef __cplusplus

#include <stdexcept>
#include <string>

/* Logging classes: what an exception of the toolkit carries.
 *  1. A message keeps a source file name, a function name, a line and a text. Names and text may be null.
 *  2. The pointers that the accessors give live as long as the object and are not the caller's.
 *  3. Message, Exception and UnthrownException are bases; what the library throws is an EerrException or a
 *     CheckFailure below, and either is caught as an Exception. */
namespace OrvikLog {

/* A name whose characters outlive the program, so that a scope need not copy it. */
struct Literal {
    const char* text;
};

/* A text kept by address when it is a literal, and as a copy otherwise. Null stays null. */
class EMANTLE_CLASS Name {
public:
    Name() noexcept = default;
    explicit Name(Literal literal) noexcept : text_(literal.text) {}
    explicit Name(const char* text) { Set(text); }
    Name(const Name& other) { *this = other; }
    Name& operator=(const Name& other);

    void Set(const char* text);
    const char* get() const noexcept { return text_; }

private:
    const char* text_ = nullptr;
    std::string copy_;
};

class EMANTLE_CLASS Exception;

class EMANTLE_CLASS Message {
public:
    Message() noexcept = default;
    Message(const char* file, const char* function) : file_(file), function_(function) {}
    explicit Message(Literal function) noexcept : function_(function) {}
    Message(const Message&) = default;
    virtual ~Message();

    /* Notes a line and a text (null counts as ""), and a line alone. */
    virtual void Log(long line, const char* text);
    virtual void Log(long line);
    virtual Message& operator=(const Message& other);

    virtual long get_LineNum() const noexcept;
    virtual const char* get_What();

    /* The source path in the form `.\family`. A message that was made from a function name alone has the path of the
     * family that the name begins with. */
    const char* get_FileName() const;
    const char* get_FuncName() const noexcept { return function_.get(); }

protected:
    void setLine(long line) noexcept { line_ = line; }

private:
    mutable Name file_;
    Name function_;
    Name what_;
    long line_ = 0;
};

class EMANTLE_CLASS Exception : public virtual Message {
public:
    Exception() noexcept = default;
    Exception(const Exception&) = default;
    ~Exception() override;

    using Message::Log;
    virtual void Log(long line, Exception& caught);
    /* Notes line and text and throws the object. */
    [[noreturn]] virtual void Throw(long line, const char* text);
    virtual Exception& operator=(const Exception& other);
};

/* An exception object that also serves as the scope of a function, before anything is thrown. */
class EMANTLE_CLASS UnthrownException : public Exception {
public:
    UnthrownException() noexcept = default;
    UnthrownException(const UnthrownException&) = default;
    ~UnthrownException() override;

    virtual void Check(long line);
    virtual UnthrownException& operator=(const UnthrownException& other);
    virtual void Clear();
};

/* What an internal check throws: an Exception that is a standard exception too (std::out_of_range,
 * std::runtime_error), whose text is "Unspecified" until one is set. */
template <class Standard>
class CheckFailure : public Exception, public Standard {
public:
    CheckFailure(const char* file, const char* function) : Message(file, function), Standard("Unspecified")
    {
        Message::Log(0, "Unspecified");
    }

    [[noreturn]] void Throw(long line, const char* text) override
    {
        Message::Log(line, text);
        throw CheckFailure(*this);
    }

    const char* what() const noexcept override { return const_cast<CheckFailure*>(this)->get_What(); }
};

}  // namespace OrvikLog

#endif
#endif
