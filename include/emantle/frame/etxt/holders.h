#ifndef EMANTLE_FRAME_ETXT_HOLDERS_H
#define EMANTLE_FRAME_ETXT_HOLDERS_H

#include <emantle/frame/emsc/heap.h>

#ifdef __cplusplus

/* Owns one heap pointer.
 *  1. Made or assigned from a pointer it takes the pointer over, without a copy; the old pointer is freed.
 *  2. `operator T**` gives the address of the field, to be filled by a callee. */
template <class T>
class LegacyHelperTemplate {
public:
    LegacyHelperTemplate() noexcept = default;
    explicit LegacyHelperTemplate(T* pointer) noexcept : data(pointer) {}
    virtual ~LegacyHelperTemplate() { Free(); }

    LegacyHelperTemplate& operator=(T* pointer) noexcept
    {
        if (pointer != data) {
            Free();
            data = pointer;
        }
        return *this;
    }

    /* Gives the pointer to the caller. */
    T* Release() noexcept
    {
        T* pointer = data;
        data = nullptr;
        return pointer;
    }

    /* Frees the pointer and leaves the field alone. */
    void Free() noexcept { emsc_HeapFree(data); }

    operator T*() noexcept { return data; }
    operator const T*() const noexcept { return data; }
    operator T**() noexcept { return &data; }
    T* operator->() noexcept { return data; }
    operator bool() noexcept { return data != nullptr; }
    operator bool() const noexcept { return data != nullptr; }
    bool operator!() const noexcept { return data == nullptr; }

protected:
    LegacyHelperTemplate(const LegacyHelperTemplate&) = delete;
    LegacyHelperTemplate& operator=(const LegacyHelperTemplate&) = delete;

    T* data = nullptr;
};

/* Text of the sibling library, of which this needs the size of an encoding and the two copies. Sizes are in
 * characters and include the terminator; the copies write at most `size` characters. */
namespace OrvikText {
class EMANTLE_CLASS Text {
public:
    virtual ~Text();
    virtual size_t AsciiSize() const = 0;
    virtual size_t UnicodeSize() const = 0;
    virtual void ToAscii(char* target, size_t size) const = 0;
    virtual void ToUnicode(Etxt_TextU* target, size_t size) const = 0;
};
}  // namespace OrvikText

/* Owning text holders. Copies are deep; a copy that finds no memory throws an EerrException. */
class EMANTLE_CLASS EtxtTextA : public LegacyHelperTemplate<char> {
public:
    EtxtTextA() noexcept = default;
    explicit EtxtTextA(char* text) noexcept : LegacyHelperTemplate(text) {}
    explicit EtxtTextA(const OrvikText::Text& text);
    EtxtTextA(const EtxtTextA& other);
    EtxtTextA& operator=(const EtxtTextA& other);
    EtxtTextA& operator=(char* text) noexcept
    {
        LegacyHelperTemplate::operator=(text);
        return *this;
    }

private:
    void Copy(const char* source);
};

class EMANTLE_CLASS EtxtTextU : public LegacyHelperTemplate<Etxt_TextU> {
public:
    EtxtTextU() noexcept = default;
    explicit EtxtTextU(Etxt_TextU* text) noexcept : LegacyHelperTemplate(text) {}
    explicit EtxtTextU(const OrvikText::Text& text);
    EtxtTextU(const EtxtTextU& other);
    EtxtTextU& operator=(const EtxtTextU& other);
    EtxtTextU& operator=(Etxt_TextU* text) noexcept
    {
        LegacyHelperTemplate::operator=(text);
        return *this;
    }

private:
    void Copy(const Etxt_TextU* source);
};

#endif
#endif
