// UFontManager: the process's loaded fonts, filed by name. The application
// creates the one font manager of the process and owns it; reach it with
// UApplication::instance()->fontManager().
//
// loadFont(path, name) opens the file with FreeType (face index 0, no size
// set: a bitmap font keeps the strike FreeType selects on opening it) and
// builds a HarfBuzz font on the face. Failures print one line on standard
// output and leave the table unchanged:
//   "UFontManager: FT_New_Face failed for: <path> with error: <code>, face: <ptr>"
//   "UFontManager: hb_ft_font_create failed for: <path>"
// Loading under a name already in use replaces (and releases) the old font.
//
// getFont(name) answers the record by value. On an empty table it answers
// nulls and inserts nothing; otherwise an unknown name gets an entry with
// null members, which a later loadFont() under that name fills.
//
// fterr holds the FreeType error code of the last FT_Init_FreeType or
// FT_New_Face call. A failed FreeType initialisation is only recorded there;
// every later load then fails with the FT_New_Face line.
//
// Used only from the painting (event-loop) thread; nothing is locked.
#ifndef UFONTMANAGER_H
#define UFONTMANAGER_H

#include <cstdint>
#include <map>

#include "ufthbfont.h"
#include "ustring.h"

struct FT_LibraryRec_;
typedef struct FT_LibraryRec_* FT_Library;

extern int32_t fterr;

class UFontManager {
public:
    UFontManager();
    ~UFontManager();

    UFontManager(const UFontManager&) = delete;
    UFontManager& operator=(const UFontManager&) = delete;

    void loadFont(const UString& path, const UString& name);
    UFTHBFont getFont(const UString& name);

    // Number of entries in the table, loaded or not.
    unsigned int count() const { return static_cast<unsigned int>(m_fonts.size()); }

private:
    std::map<UString, UFTHBFont> m_fonts;
    FT_Library m_library;
};

#endif
