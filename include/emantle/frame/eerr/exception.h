#ifndef EMANTLE_FRAME_EERR_EXCEPTION_H
#define EMANTLE_FRAME_EERR_EXCEPTION_H

#include <emantle/frame/eerr.h>
#include <emantle/frame/etxt/holders.h>
#include <emantle/siblings/orviklog.h>

#ifdef __cplusplus

/* The scope of a function that can fail, and at the same time the exception that leaves a scope.
 *  1. It holds at most one chain of reports, which it owns. A chain still held at destruction is printed and deleted.
 *  2. It stands for an error argument: `callee(..., scope)` passes the address of its chain.
 *  3. Nothing escapes from the destructor or from the Log members. */
class EMANTLE_CLASS EerrException : public virtual OrvikLog::UnthrownException {
public:
    EerrException();
    explicit EerrException(const char* file);
    EerrException(const char* file, const char* function);
    /* Takes `report` over. */
    EerrException(const char* file, const char* function, _Eerr_ErrorReportA* report);
    /* For functions of the library: the name is not copied, and gives the source path. */
    explicit EerrException(OrvikLog::Literal function) noexcept;
    /* Copies the chain deeply. */
    EerrException(const EerrException& other);
    ~EerrException() override;

    /* With a chain held: wraps it in a record that says which function failed, then throws it (`throwIt`), or prints
     * and forgets it. Without: nothing. */
    virtual void Check(long line, bool throwIt);
    void Check(long line) override { Check(line, true); }

    /* Prints the chain, which stays held. */
    virtual void Log();
    /* Throws the chain in a new exception of this scope's names; the scope is left empty. */
    [[noreturn]] virtual void Throw();
    /* Wraps the chain in a record with `text` (null counts as "") and throws it. */
    [[noreturn]] void Throw(long line, const char* text) override;
    /* Does nothing. */
    virtual void Throw(long line, unsigned reserved);

    virtual EerrException& operator=(const EerrException& other);

    /* The scope as an error argument. A chain held at that moment would be lost: it is printed first, behind
     * "Avoiding Eerr_ErrorReport leak". */
    virtual operator _Eerr_ErrorReportA**();
    virtual operator _Eerr_ErrorReportA*();
    virtual operator bool();
    virtual bool operator!();

    /* Gives the chain to the caller and forgets it. */
    virtual _Eerr_ErrorReportA* Release();
    /* Drops the own chain and takes `*chain`, which becomes null. A null argument only drops. */
    virtual void Absorb(_Eerr_ErrorReportU** chain);
    virtual void Absorb(_Eerr_ErrorReportA** chain);

    /* Gives the chain to `*out`, which is null when there is none. */
    void Assign(_Eerr_ErrorReportA** out);
    void Assign(_Eerr_ErrorReportU** out);

    /* Takes in what was caught: the chain of a scope, or a record made of a foreign exception, under a record of this
     * scope. A chain held before is printed and dropped. */
    void Log(long line, OrvikLog::Exception& caught) override;
    /* A new record of this scope with `text`; a chain held before is printed and dropped. */
    void Log(long line, const char* text) override;
    /* A record for an exception of unknown type, in front of the chain held. */
    void Log(long line) override;

    /* The messages of the chain, head first, each with a line feed; null without a chain. Lives until the next call. */
    const char* get_What() override;
    void Clear() override;

private:
    struct Move {};
    /* Takes names and chain of `scope`. */
    EerrException(EerrException& scope, Move);
    void setFront(long line, const char* text) noexcept;

    _Eerr_ErrorReportA* report = nullptr;
    _Eerr_ErrorReportU* reportU = nullptr;
    EtxtTextA text;

    friend class EerrExceptionASCII;
};

/* Offers a scope as a narrow error argument to code of another character width. Its destructor lets the scope absorb
 * its own chain, which drops the chain. */
class EMANTLE_CLASS EerrExceptionASCII {
public:
    explicit EerrExceptionASCII(EerrException& scope) noexcept : scope_(scope) {}
    ~EerrExceptionASCII();
    EerrExceptionASCII(const EerrExceptionASCII&) = delete;
    EerrExceptionASCII& operator=(const EerrExceptionASCII&) = delete;

    operator _Eerr_ErrorReportA**() noexcept { return &scope_.report; }

private:
    EerrException& scope_;
};

#endif
#endif
