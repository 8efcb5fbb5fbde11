// UFontManager: the process's loaded fonts, filed by name. The application
// creates the one font manager of the process and owns it; reach it with
// UApplication::instance()->fontManager().
//
// loadFont(path, name) reads the whole file into memory that the manager
// owns and opens the face from those bytes (FT_New_Memory_Face, face index
// 0, no size set: a bitmap font keeps the strike FreeType selects on opening
// it), then builds a HarfBuzz font on the face. FreeType and HarfBuzz both
// read a face's bytes lazily, long after loading; with the bytes in our own
// memory a font file that is rewritten, truncated or removed on disk (a
// font update on the phone) cannot pull the ground from under a running
// phonelet. The bytes live exactly as long as the face and its HarfBuzz
// font: they are freed after FT_Done_Face and hb_font_destroy, when the
// font is replaced under its name or the manager is destroyed.
//
// Failures print one line on standard output and leave the table unchanged:
//   "UFontManager: FT_New_Face failed for: <path> with error: <code>, face: <ptr>"
//   "UFontManager: hb_ft_font_create failed for: <path>"
// The code is the one FreeType gives for the file by path: a file that
// cannot be opened gives FT_Err_Cannot_Open_Resource (1); bytes that no
// driver takes (an empty file, a directory, a device) FT_Err_Unknown_File_Format
// (2); one too large for memory FT_Err_Out_Of_Memory (0x40); otherwise
// FT_New_Memory_Face's code.
// Loading under a name already in use replaces (and releases) the old font.
//
// getFont(name) answers the record by value. On an empty table it answers
// nulls and inserts nothing; otherwise an unknown name gets an entry with
// null members, which a later loadFont() under that name fills. Names are
// compared unit by unit, which orders them exactly like UString::operator<
// (each unit's UTF-8 form is order-preserving and prefix-free) without
// converting them.
//
// fterr holds the FreeType error code of the last FT_Init_FreeType or
// face-opening call. A failed FreeType initialisation is only recorded
// there; every later load then fails with the FT_New_Face line.
//
// Rendering caches (used by UDrawer; they change no pixel and no result):
// - shaping: one HarfBuzz buffer, emptied before each use, serves every
//   text of the manager;
// - shaped texts: per font, a direct-mapped table of 128 slots keyed on the
//   locale's shaping settings and the text's units holds the glyph indices
//   and whole-pixel advances of recently shaped texts; texts longer than
//   128 units are shaped every time. In a bitmap font without kerning, in
//   the Latin locale, a text made only of characters that HarfBuzz shapes
//   one to one (Latin-1 letters and most other non-mark characters the
//   font has; each is tried alone with HarfBuzz once, the reasons are in
//   the source) is answered from a per-character table;
// - HarfBuzz shapes every other text with a font of the manager's own
//   built on the loaded one: nominal glyphs and horizontal advances are
//   asked of the loaded HarfBuzz font once per character and glyph and
//   then answered from tables, without the lock that HarfBuzz's FreeType
//   functions take around every call on the face (a face must not be used
//   by two threads at once, and HarfBuzz fonts may be shared between
//   threads; here only the painting thread shapes). Everything else
//   (extents, kerning of a face that has kerning) is passed on. Texts
//   without surrogates are handed over as UTF-16, which HarfBuzz reads
//   exactly as the UTF-8 of the text;
// - rendered glyphs: per font, the one-bit bitmap FreeType renders for a
//   glyph index (whole bytes of its pitch, bearings, and whether loading or
//   rendering failed or gave a non-monochrome bitmap). At most 1024 glyphs
//   are kept; when a text needs more room the font's glyphs are dropped
//   (and rendered again on demand).
// All are released with their font (the manager's HarfBuzz font first: it
// shares the face). They assume that nobody changes the face's size or the
// HarfBuzz font's settings behind the manager's back.
// A pointer that shape() answers is valid until the next call on the
// manager.
//
// Used only from the painting (event-loop) thread; nothing is locked.
#ifndef UFONTMANAGER_H
#define UFONTMANAGER_H

#include "utkexport.h"

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "ufthbfont.h"
#include "ustring.h"

struct FT_LibraryRec_;
typedef struct FT_LibraryRec_* FT_Library;
struct hb_buffer_t;
typedef struct hb_buffer_t hb_buffer_t;

extern int32_t fterr;

class UTK_EXPORT UFontManager {
public:
    // One glyph as FreeType renders it in monochrome mode.
    struct Glyph {
        enum State : uint8_t { Ready, Failed, NotMono };
        State state = Failed;
        int left = 0; // bitmap_left
        int top = 0;  // bitmap_top
        unsigned int firstRow = 0; // of the bitmap: the blank rows above it are not kept
        unsigned int rows = 0;     // kept from firstRow on, up to the last one with ink
        unsigned int pitch = 0;    // 0 for a bottom-up or empty bitmap: nothing to draw
        std::vector<unsigned char> bits;
    };
    // One shaped text: per glyph, its index, its advance in whole pixels
    // (x_advance / 64, truncated toward zero) and, once asked for, its
    // rendered form.
    struct Shaped {
        std::vector<uint32_t> indices;
        std::vector<int32_t> advances;
        std::vector<const Glyph*> glyphs;
        unsigned long generation = 0; // of the glyph cache the pointers came from
    };
    class FontData; // the bytes and caches of one loaded font

    UFontManager();
    ~UFontManager();

    UFontManager(const UFontManager&) = delete;
    UFontManager& operator=(const UFontManager&) = delete;

    void loadFont(const UString& path, const UString& name);
    UFTHBFont getFont(const UString& name);

    // Number of entries in the table, loaded or not.
    unsigned int count() const { return static_cast<unsigned int>(m_fonts.size()); }

    // The text shaped in the font named `name` (looked up like getFont())
    // in the application's locale, with its glyphs rendered when `glyphs`
    // is true; null when the font is not loaded or HarfBuzz fails.
    const Shaped* shape(const UString& name, const UString& text, bool glyphs);

private:
    struct UTK_LOCAL UnitOrder {
        bool operator()(const UString& a, const UString& b) const;
    };
    struct Entry {
        UFTHBFont font;
        std::unique_ptr<FontData> data;
    };
    UTK_LOCAL static void release(Entry& e);

    std::map<UString, Entry, UnitOrder> m_fonts;
    FT_Library m_library;
    hb_buffer_t* m_buffer; // reused by every shaping
};

#endif
