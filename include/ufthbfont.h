// UFTHBFont: one loaded font, a FreeType face and the HarfBuzz font built
// on it. Both are owned by the font manager; a record handed out by
// UFontManager::getFont() is a plain copy of the two handles and must not be
// released. Both members are null for a name with no loaded font.
//
// Only opaque forward declarations of the FreeType and HarfBuzz types are
// needed here, so users of the toolkit's headers need neither library's
// include paths.
#ifndef UFTHBFONT_H
#define UFTHBFONT_H

#include "utkexport.h"

struct FT_FaceRec_;
typedef struct FT_FaceRec_* FT_Face;
struct hb_font_t;
typedef struct hb_font_t hb_font_t;

class UTK_EXPORT UFTHBFont {
public:
    UFTHBFont() : m_face(nullptr), m_font(nullptr) {}
    UFTHBFont(FT_Face face, hb_font_t* font) : m_face(face), m_font(font) {}

    bool isNull() const { return m_face == nullptr || m_font == nullptr; }

    FT_Face m_face;
    hb_font_t* m_font;
};

#endif
