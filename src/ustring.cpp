#include "ustring.h"

#include <cstdio>
#include <stdexcept>

template <typename T>
const unsigned int UBasicString<T>::npos = 0x10000;

template <typename T>
T UBasicString<T>::safetyBox = 0;

namespace {

// Byte `i` of `s` as an unsigned value, or 0 past the end: a multi-byte
// sequence cut short by the end of the input reads its missing bytes as 0.
// The cast keeps bytes >= 0x80 positive whether char is signed or not.
inline unsigned int byteAt(const std::string& s, std::string::size_type i)
{
    return i < s.size() ? static_cast<unsigned int>(static_cast<unsigned char>(s[i])) : 0u;
}

inline char toChar(unsigned int b)
{
    return static_cast<char>(static_cast<unsigned char>(b & 0xFFu));
}

} // namespace

template <typename T>
UBasicString<T>::UBasicString() : m_cstr(nullptr), m_cstrStale(true)
{
}

template <typename T>
UBasicString<T>::UBasicString(const UBasicString& other)
    : m_cstr(nullptr), m_storage(other.m_storage), m_cstrStale(true)
{
}

template <typename T>
UBasicString<T>::UBasicString(const T& unit) : m_cstr(nullptr), m_storage(1, unit), m_cstrStale(true)
{
}

template <typename T>
UBasicString<T>::UBasicString(const T* units) : m_cstr(nullptr), m_cstrStale(true)
{
    if (!units)
        return;
    const T* end = units;
    while (*end != 0)
        ++end;
    m_storage.assign(units, end);
}

template <typename T>
UBasicString<T>::UBasicString(const char* utf8) : m_cstr(nullptr), m_cstrStale(true)
{
    // Same outcome as building a std::string from a null pointer, but
    // without depending on the standard library version to check it.
    if (!utf8)
        throw std::logic_error("basic_string: construction from null is not valid");
    m_storage = fromUTF8(std::string(utf8)).m_storage;
}

template <typename T>
UBasicString<T>::UBasicString(const std::string& utf8)
    : m_cstr(nullptr), m_storage(fromUTF8(utf8).m_storage), m_cstrStale(true)
{
}

template <typename T>
UBasicString<T>::~UBasicString()
{
    delete[] m_cstr;
}

template <typename T>
UBasicString<T>& UBasicString<T>::operator=(const UBasicString& other)
{
    m_cstrStale = true;
    clean_c_str();
    if (this != &other)
        m_storage = other.m_storage;
    return *this;
}

template <typename T>
UBasicString<T>& UBasicString<T>::operator=(const std::string& utf8)
{
    m_cstrStale = true;
    clean_c_str();
    m_storage = fromUTF8(utf8).m_storage;
    return *this;
}

// No validation is made: bytes after a lead byte are taken as continuation
// bytes whatever their top bits, overlong forms decode to their value, and
// three-byte surrogates become surrogate units. Four-byte sequences do not
// fit one unit; each of their bytes is skipped as a stray byte.
template <typename T>
UBasicString<T> UBasicString<T>::fromUTF8(const std::string& utf8)
{
    UBasicString result;
    result.m_storage.reserve(utf8.size());
    std::string::size_type i = 0;
    const std::string::size_type n = utf8.size();
    while (i < n) {
        const unsigned int b = byteAt(utf8, i);
        if (b < 0x80u) {
            result.m_storage.push_back(static_cast<T>(b));
            i += 1;
        } else if ((b & 0xE0u) == 0xC0u) {
            result.m_storage.push_back(
                static_cast<T>(((b << 6) & 0x7C0u) | (byteAt(utf8, i + 1) & 0x3Fu)));
            i += 2;
        } else if ((b & 0xF0u) == 0xE0u) {
            result.m_storage.push_back(static_cast<T>(((b & 0x0Fu) << 12) |
                                                      ((byteAt(utf8, i + 1) & 0x3Fu) << 6) |
                                                      (byteAt(utf8, i + 2) & 0x3Fu)));
            i += 3;
        } else {
            i += 1;
        }
    }
    return result;
}

template <typename T>
std::string UBasicString<T>::toUTF8() const
{
    std::string out;
    out.reserve(m_storage.size());
    for (T unit : m_storage) {
        const unsigned int u = static_cast<unsigned int>(unit);
        if (u < 0x80u) {
            out += toChar(u);
        } else if (u < 0x800u) {
            out += toChar(0xC0u | (u >> 6));
            out += toChar(0x80u | (u & 0x3Fu));
        } else {
            out += toChar(0xE0u | (u >> 12));
            out += toChar(0x80u | ((u >> 6) & 0x3Fu));
            out += toChar(0x80u | (u & 0x3Fu));
        }
    }
    return out;
}

// The private-use units 0xE000..0xE002 are the icon font's markers; they
// all become the control byte 0x1F. Every other unit keeps its low byte.
template <typename T>
std::string UBasicString<T>::toASCII() const
{
    std::string out;
    out.reserve(m_storage.size());
    for (T unit : m_storage) {
        const unsigned int u = static_cast<unsigned int>(unit);
        out += (u >= 0xE000u && u <= 0xE002u) ? toChar(0x1Fu) : toChar(u);
    }
    return out;
}

// The copy is rebuilt only after a change, so the pointer handed out stays
// valid (showing the old text) until the next c_str() after a change.
template <typename T>
const T* UBasicString<T>::c_str() const
{
    if (m_cstrStale || !m_cstr) {
        delete[] m_cstr;
        m_cstr = nullptr;
        T* copy = new T[m_storage.size() + 1];
        for (typename std::vector<T>::size_type i = 0; i < m_storage.size(); ++i)
            copy[i] = m_storage[i];
        copy[m_storage.size()] = 0;
        m_cstr = copy;
    }
    m_cstrStale = false;
    return m_cstr;
}

template <typename T>
void UBasicString<T>::clean_c_str() const
{
    delete[] m_cstr;
    m_cstr = nullptr;
}

template <typename T>
std::vector<T>& UBasicString<T>::storageRW()
{
    m_cstrStale = true;
    return m_storage;
}

template <typename T>
std::vector<T>& UBasicString<T>::iAmAwareOfWhatImDoingAndIWantStorage()
{
    m_cstrStale = true;
    return m_storage;
}

template <typename T>
T& UBasicString<T>::operator[](unsigned int i)
{
    m_cstrStale = true;
    if (i < m_storage.size())
        return m_storage[i];
    std::printf("____________ PString::operator[], somebody wants to write to unallocated space "
                "at %d, me: %p\n",
                static_cast<int>(i), static_cast<const void*>(this));
    std::fflush(stdout);
    return safetyBox;
}

template <typename T>
T UBasicString<T>::operator[](unsigned int i) const
{
    if (i < m_storage.size())
        return m_storage[i];
    std::printf("____________ PString::operator[], somebody wants to access to unallocated space "
                "at %d, me: %p\n",
                static_cast<int>(i), static_cast<const void*>(this));
    std::fflush(stdout);
    return 0;
}

template <typename T>
unsigned int UBasicString<T>::find(const T& unit) const
{
    for (typename std::vector<T>::size_type i = 0; i < m_storage.size(); ++i) {
        if (m_storage[i] == unit)
            return static_cast<unsigned int>(i + 1);
    }
    return npos;
}

template <typename T>
unsigned int UBasicString<T>::find_first_not_of(const UBasicString& set) const
{
    for (typename std::vector<T>::size_type i = 0; i < m_storage.size(); ++i) {
        if (set.find(m_storage[i]) == npos)
            return static_cast<unsigned int>(i + 1);
    }
    return npos;
}

template <typename T>
bool UBasicString<T>::operator==(const UBasicString& other) const
{
    return m_storage == other.m_storage;
}

// Byte-wise order of the UTF-8 forms, bytes compared as unsigned values so
// that the order is the same whether char is signed or not.
template <typename T>
bool UBasicString<T>::operator<(const UBasicString& other) const
{
    const std::string a = toUTF8();
    const std::string b = other.toUTF8();
    const std::string::size_type common = a.size() < b.size() ? a.size() : b.size();
    for (std::string::size_type i = 0; i < common; ++i) {
        const unsigned char ca = static_cast<unsigned char>(a[i]);
        const unsigned char cb = static_cast<unsigned char>(b[i]);
        if (ca != cb)
            return ca < cb;
    }
    return a.size() < b.size();
}

template <typename T>
UBasicString<T> UBasicString<T>::substr(unsigned int pos, unsigned int n) const
{
    UBasicString result;
    const typename std::vector<T>::size_type len = m_storage.size();
    if (n == 0 || pos >= len)
        return result;
    // n may be as large as the type allows: compare with the room left
    // instead of adding, which could wrap.
    const typename std::vector<T>::size_type room = len - pos;
    const typename std::vector<T>::size_type count = n < room ? n : room;
    result.m_storage.assign(m_storage.begin() + static_cast<std::ptrdiff_t>(pos),
                            m_storage.begin() + static_cast<std::ptrdiff_t>(pos + count));
    return result;
}

template <typename T>
void UBasicString<T>::clear()
{
    m_cstrStale = true;
    clean_c_str();
    m_storage.clear();
}

template <typename T>
void UBasicString<T>::reserve(unsigned int n)
{
    m_storage.reserve(n);
}

template <typename T>
void UBasicString<T>::resize(unsigned int n)
{
    m_cstrStale = true;
    m_storage.resize(n, static_cast<T>(0));
}

template <typename T>
UBasicString<T>& UBasicString<T>::operator+=(const UBasicString& other)
{
    return append(other);
}

template <typename T>
UBasicString<T>& UBasicString<T>::operator+=(const T& unit)
{
    return append(static_cast<T>(unit));
}

template <typename T>
UBasicString<T>& UBasicString<T>::append(const UBasicString& other)
{
    m_cstrStale = true;
    if (&other == this) {
        // Inserting a vector's own range into itself is not allowed; the
        // units are doubled in place instead.
        const typename std::vector<T>::size_type len = m_storage.size();
        m_storage.reserve(len * 2);
        for (typename std::vector<T>::size_type i = 0; i < len; ++i)
            m_storage.push_back(m_storage[i]);
    } else {
        m_storage.insert(m_storage.end(), other.m_storage.begin(), other.m_storage.end());
    }
    return *this;
}

template <typename T>
UBasicString<T>& UBasicString<T>::append(T unit)
{
    m_cstrStale = true;
    m_storage.push_back(unit);
    return *this;
}

template <typename T>
UBasicString<T>& UBasicString<T>::append(unsigned int count, T unit)
{
    m_cstrStale = true;
    m_storage.insert(m_storage.end(), count, unit);
    return *this;
}

template <typename T>
UBasicString<T> UBasicString<T>::operator+(const UBasicString& other) const
{
    UBasicString result(*this);
    result.append(other);
    return result;
}

template class UBasicString<unsigned short>;
