// UTK_EXPORT marks the toolkit's public classes and functions. The library
// is built with hidden visibility, so only what carries this mark is in its
// dynamic symbol table: smaller tables, faster loading, and no template
// instantiations of the standard library exported by accident.
#ifndef UTKEXPORT_H
#define UTKEXPORT_H

#define UTK_EXPORT __attribute__((visibility("default")))

#endif
