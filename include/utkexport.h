// UTK_EXPORT marks the toolkit's public classes and functions. The library
// is built with hidden visibility, so only what carries this mark is in its
// dynamic symbol table: smaller tables, faster loading, and no template
// instantiations of the standard library exported by accident.
//
// UTK_LOCAL takes a member of an exported class back out of the table: the
// private member functions and static data that only the library's own
// code reaches. It must not go on a virtual function of a class a phonelet
// can derive from (a derived class refers to every virtual of its bases;
// UTimerManager, with its private constructor, is the one exception), nor
// on anything an inline function of a header uses, nor on what a friend
// outside the library needs.
#ifndef UTKEXPORT_H
#define UTKEXPORT_H

#define UTK_EXPORT __attribute__((visibility("default")))
#define UTK_LOCAL __attribute__((visibility("hidden")))

#endif
