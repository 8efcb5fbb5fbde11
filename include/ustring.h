// UString: the toolkit's text type, a sequence of 16-bit code units (one per
// character of the Basic Multilingual Plane) with UTF-8 conversion in and
// out and a cached zero-terminated copy for C-style consumers.
//
// find() counts positions from 1 and answers npos (65536) when nothing is
// found; compare results with UString::npos, never with -1. In a string
// longer than 65535 units a match at unit 65536 cannot be told from npos;
// the toolkit's texts are far shorter.
//
// find_first_not_of(set): the position, counted from 1 like find(), of the
// first unit of this string that does not occur in `set`; npos when every
// unit occurs in `set` or this string is empty. An empty set matches
// nothing, so any non-empty string answers 1.
#ifndef USTRING_H
#define USTRING_H

#include "utkexport.h"

#include <string>
#include <vector>

template <typename T>
class UTK_EXPORT UBasicString {
public:
    static const unsigned int npos;
    static T safetyBox;

    UBasicString();
    UBasicString(const UBasicString& other);
    UBasicString(const T& unit);
    UBasicString(const T* units);
    UBasicString(const char* utf8);
    UBasicString(const std::string& utf8);
    virtual ~UBasicString();

    UBasicString& operator=(const UBasicString& other);
    UBasicString& operator=(const std::string& utf8);

    static UBasicString fromUTF8(const std::string& utf8);
    std::string toUTF8() const;
    std::string toASCII() const;

    const T* c_str() const;
    void clean_c_str() const;
    const std::vector<T>& storage() const { return m_storage; }
    std::vector<T>& storageRW();
    std::vector<T>& iAmAwareOfWhatImDoingAndIWantStorage();

    T& operator[](unsigned int i);
    T operator[](unsigned int i) const;
    unsigned int length() const { return static_cast<unsigned int>(m_storage.size()); }
    bool empty() const { return m_storage.empty(); }
    bool isEmpty() const { return m_storage.empty(); }
    unsigned int find(const T& unit) const;
    unsigned int find_first_not_of(const UBasicString& set) const;

    bool operator==(const UBasicString& other) const;
    bool operator!=(const UBasicString& other) const { return !(*this == other); }
    bool operator<(const UBasicString& other) const;

    UBasicString substr(unsigned int pos, unsigned int n) const;

    void clear();
    void reserve(unsigned int n);
    void resize(unsigned int n);
    UBasicString& operator+=(const UBasicString& other);
    UBasicString& operator+=(const T& unit);
    UBasicString& append(const UBasicString& other);
    UBasicString& append(T unit);
    UBasicString& append(unsigned int count, T unit);
    UBasicString operator+(const UBasicString& other) const;

private:
    mutable T* m_cstr;
    std::vector<T> m_storage;
    mutable bool m_cstrStale;
};

extern template class UBasicString<unsigned short>;
typedef UBasicString<unsigned short> UString;

#endif
