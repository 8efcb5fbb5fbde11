#include "ufontmanager.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <deque>
#include <new>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ft2build.h>
#include FT_FREETYPE_H
#include <hb-ft.h>
#include <hb.h>

#include "uappcomms.h"
#include "uapplication.h"
#include "udrawer.h"

UTK_EXPORT int32_t fterr = 0;

namespace {

const unsigned int SHAPE_SLOTS = 128;      // direct-mapped, a power of two
const unsigned int MAX_CACHED_UNITS = 128; // longer texts are shaped every time
const size_t MAX_GLYPHS = 1024;

// Reads the whole of a regular file into out (anything else, a directory
// or a device, reads as empty, which no font driver takes). Answers 0, or
// the FreeType error code that stands for the trouble.
int readFile(const std::string& path, std::vector<unsigned char>& out)
{
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return FT_Err_Cannot_Open_Resource;
    int error = 0;
    struct stat st;
    if (fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && st.st_size > 0) {
        const unsigned long long size = static_cast<unsigned long long>(st.st_size);
        if (size > static_cast<unsigned long long>(LONG_MAX) || size > SIZE_MAX) {
            error = FT_Err_Out_Of_Memory; // beyond what FT_New_Memory_Face takes
        } else {
            try {
                out.resize(static_cast<size_t>(size));
            } catch (const std::bad_alloc&) {
                error = FT_Err_Out_Of_Memory;
            }
        }
        size_t done = 0;
        while (error == 0 && done < out.size()) {
            const ssize_t n = ::read(fd, out.data() + done, out.size() - done);
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0)
                break; // unreadable, or shrank meanwhile: what was read is the file
            done += static_cast<size_t>(n);
        }
        out.resize(done);
    }
    ::close(fd);
    if (error != 0)
        std::vector<unsigned char>().swap(out);
    return error;
}

int localeKey()
{
    UApplication* app = UApplication::instance();
    const int locale = app ? static_cast<int>(app->getLocale()) : 0;
    // Every value outside 1..4 shapes as Latin.
    return locale >= UGlobal::Hangul && locale <= UGlobal::Arabic ? locale : 0;
}

} // namespace

class UFontManager::FontData {
public:
    struct Slot {
        bool used = false;
        int locale = 0;
        std::vector<unsigned short> units;
        Shaped shaped;
    };

    std::vector<unsigned char> bytes; // the face's file, read once
    std::vector<Slot> slots = std::vector<Slot>(SHAPE_SLOTS);
    Shaped scratch; // long texts, shaped every time

    // What HarfBuzz's FreeType functions answer, asked once: per character
    // (a BMP unit) its nominal glyph and, once asked, whether HarfBuzz
    // shapes it one to one (see simple()); per glyph index its advance in
    // font units. Pages of 256 are made on first use.
    enum : uint32_t { UNKNOWN = 0xFFFFFFFFu, NONE = 0xFFFFFFFEu };
    enum : uint8_t { ASK, YES, NO };
    struct Char {
        uint32_t glyph = UNKNOWN;
        int16_t advance = 0; // whole pixels, when simple
        uint8_t simple = ASK;
    };
    std::unique_ptr<Char[]> chars[256];
    std::unique_ptr<int32_t[]> advances[256];
    hb_font_t* ft = nullptr;    // the entry's HarfBuzz font on the face
    hb_font_t* proxy = nullptr; // answers from the tables above, see makeProxy()
    bool proxyTried = false;
    bool simpleFont = false;
    std::deque<Glyph> glyphs;
    // The rendered glyph per index below 65536, in pages of 256 (an index
    // above, which no font of ours has, is rendered every time).
    std::unique_ptr<const Glyph*[]> glyphPages[256];
    unsigned long generation = 1;

    ~FontData() { dropProxy(); }

    void dropProxy()
    {
        if (proxy)
            hb_font_destroy(proxy);
        proxy = nullptr;
    }

    Char& charAt(uint32_t u)
    {
        std::unique_ptr<Char[]>& page = chars[u >> 8 & 0xFF];
        if (!page)
            page.reset(new Char[256]);
        return page[u & 0xFF];
    }

    bool nominal(hb_codepoint_t u, hb_codepoint_t* g)
    {
        if (u > 0xFFFF)
            return hb_font_get_nominal_glyph(ft, u, g);
        Char& c = charAt(u);
        if (c.glyph == UNKNOWN) {
            hb_codepoint_t x = 0;
            if (!hb_font_get_nominal_glyph(ft, u, &x))
                c.glyph = NONE;
            else if (x < NONE)
                c.glyph = x;
            else
                return *g = x, true; // not representable: asked every time
        }
        if (c.glyph == NONE)
            return false;
        *g = c.glyph;
        return true;
    }

    hb_position_t advance(hb_codepoint_t g)
    {
        if (g > 0xFFFF)
            return hb_font_get_glyph_h_advance(ft, g);
        std::unique_ptr<int32_t[]>& page = advances[g >> 8];
        if (!page) {
            page.reset(new int32_t[256]);
            std::fill_n(page.get(), 256, INT32_MIN);
        }
        int32_t& a = page[g & 0xFF];
        if (a == INT32_MIN)
            a = hb_font_get_glyph_h_advance(ft, g);
        return a;
    }

    // The font HarfBuzz shapes with: nominal glyphs and horizontal
    // advances come from the tables above instead of taking the FreeType
    // font's lock and asking the face each time; glyph extents, contour
    // points, variation glyphs and kerning are passed on to the FreeType
    // font unchanged. A face without kerning gets no kerning function:
    // FreeType answers 0 for every pair of such a face, so HarfBuzz's
    // pass over the pairs changes nothing and is skipped. Vertical metrics
    // are left out: no locale shapes vertically. Null (and the FreeType
    // font is used) when HarfBuzz cannot make it.
    hb_font_t* shapingFont(FT_Face face)
    {
        if (proxyTried)
            return proxy ? proxy : ft;
        proxyTried = true;
        simpleFont = !FT_IS_SFNT(face) && !FT_HAS_KERNING(face);
        hb_font_funcs_t* f = hb_font_funcs_create();
        hb_font_funcs_set_nominal_glyph_func(f, nominalFunc, nullptr, nullptr);
        hb_font_funcs_set_nominal_glyphs_func(f, nominalsFunc, nullptr, nullptr);
        hb_font_funcs_set_glyph_h_advances_func(f, advancesFunc, nullptr, nullptr);
        hb_font_funcs_set_variation_glyph_func(f, variationFunc, nullptr, nullptr);
        hb_font_funcs_set_glyph_extents_func(f, extentsFunc, nullptr, nullptr);
        hb_font_funcs_set_glyph_contour_point_func(f, contourFunc, nullptr, nullptr);
        hb_font_funcs_set_font_h_extents_func(f, fontExtentsFunc, nullptr, nullptr);
        if (FT_HAS_KERNING(face))
            hb_font_funcs_set_glyph_h_kerning_func(f, kerningFunc, nullptr, nullptr);
        hb_font_funcs_make_immutable(f);
        // A sub-font takes the FreeType font's face, scale, ppem and
        // variation coordinates; cut loose from its parent, it answers
        // only through the functions above.
        hb_font_t* p = hb_font_create_sub_font(ft);
        hb_font_set_parent(p, nullptr);
        hb_font_set_funcs(p, f, this, nullptr);
        hb_font_funcs_destroy(f);
        if (p == hb_font_get_empty())
            return ft;
        proxy = p;
        return proxy;
    }

    static FontData* self(void* d) { return static_cast<FontData*>(d); }
    static hb_bool_t nominalFunc(hb_font_t*, void* d, hb_codepoint_t u, hb_codepoint_t* g, void*)
    {
        return nominalsFunc(nullptr, d, 1, &u, 0, g, 0, nullptr) == 1;
    }
    static unsigned int nominalsFunc(hb_font_t*, void* d, unsigned int count,
                                     const hb_codepoint_t* u, unsigned int ustride,
                                     hb_codepoint_t* g, unsigned int gstride, void*)
    {
        unsigned int i = 0;
        for (; i < count && self(d)->nominal(*u, g); ++i) {
            u = reinterpret_cast<const hb_codepoint_t*>(reinterpret_cast<const char*>(u) + ustride);
            g = reinterpret_cast<hb_codepoint_t*>(reinterpret_cast<char*>(g) + gstride);
        }
        return i;
    }
    static void advancesFunc(hb_font_t*, void* d, unsigned int count, const hb_codepoint_t* g,
                             unsigned int gstride, hb_position_t* a, unsigned int astride, void*)
    {
        for (unsigned int i = 0; i < count; ++i) {
            *a = self(d)->advance(*g);
            g = reinterpret_cast<const hb_codepoint_t*>(reinterpret_cast<const char*>(g) + gstride);
            a = reinterpret_cast<hb_position_t*>(reinterpret_cast<char*>(a) + astride);
        }
    }
    static hb_bool_t variationFunc(hb_font_t*, void* d, hb_codepoint_t u, hb_codepoint_t vs,
                                   hb_codepoint_t* g, void*)
    {
        return hb_font_get_variation_glyph(self(d)->ft, u, vs, g);
    }
    static hb_bool_t extentsFunc(hb_font_t*, void* d, hb_codepoint_t g, hb_glyph_extents_t* e, void*)
    {
        return hb_font_get_glyph_extents(self(d)->ft, g, e);
    }
    static hb_bool_t contourFunc(hb_font_t*, void* d, hb_codepoint_t g, unsigned int point,
                                 hb_position_t* x, hb_position_t* y, void*)
    {
        return hb_font_get_glyph_contour_point(self(d)->ft, g, point, x, y);
    }
    static hb_bool_t fontExtentsFunc(hb_font_t*, void* d, hb_font_extents_t* e, void*)
    {
        return hb_font_get_h_extents(self(d)->ft, e);
    }
    static hb_position_t kerningFunc(hb_font_t*, void* d, hb_codepoint_t a, hb_codepoint_t b, void*)
    {
        return hb_font_get_glyph_h_kerning(self(d)->ft, a, b);
    }

    // Finds out whether the Latin locale's shaping maps unit u one to one onto its
    // nominal glyph with the glyph's own advance, whatever stands around
    // it. In a face that is no sfnt (BDF, PCF) and has no kerning,
    // HarfBuzz has no layout tables and no kerning to apply: it maps
    // every character that is not a mark to its nominal glyph (marks
    // compose with what precedes them, lose their advance and move about)
    // and touches only default-ignorable characters afterwards (hidden,
    // no advance) and characters the font lacks (decomposed, or drawn as
    // a space or hyphen). So a character that is no mark, that the font
    // has, and that HarfBuzz shapes alone into its nominal glyph with
    // the glyph's advance is shaped that way in any text of such
    // characters. NUL (which ends the text HarfBuzz is given) and
    // surrogates are never simple.
    bool classify(hb_font_t* font, hb_buffer_t* b, unsigned short u, Char& c)
    {
        c.simple = NO;
        hb_codepoint_t g = 0;
        const hb_unicode_general_category_t cat =
            hb_unicode_general_category(hb_unicode_funcs_get_default(), u);
        const hb_codepoint_t cp = u;
        if (u == 0 || (u >= 0xD800 && u <= 0xDFFF) || !nominalFunc(nullptr, this, cp, &g, nullptr) ||
            cat == HB_UNICODE_GENERAL_CATEGORY_NON_SPACING_MARK ||
            cat == HB_UNICODE_GENERAL_CATEGORY_SPACING_MARK ||
            cat == HB_UNICODE_GENERAL_CATEGORY_ENCLOSING_MARK)
            return false;
        hb_buffer_clear_contents(b);
        adjustBufferForLocale(b);
        hb_buffer_guess_segment_properties(b);
        const uint16_t one = u;
        hb_buffer_add_utf16(b, &one, 1, 0, 1);
        hb_shape(font, b, nullptr, 0);
        unsigned int n = 0;
        const hb_glyph_info_t* info = hb_buffer_get_glyph_infos(b, &n);
        const hb_glyph_position_t* pos = hb_buffer_get_glyph_positions(b, nullptr);
        hb_position_t a = 0;
        advancesFunc(nullptr, this, 1, &g, 0, &a, 0, nullptr);
        if (n == 1 && info[0].codepoint == g && c.glyph == g && pos[0].x_advance == a &&
            a / 64 >= INT16_MIN &&
            a / 64 <= INT16_MAX) {
            c.simple = YES;
            c.advance = static_cast<int16_t>(a / 64);
        }
        hb_buffer_clear_contents(b);
        return c.simple == YES;
    }

    // The text answered from the per-character table, when every unit of
    // it is simple in a simple font; false leaves it to HarfBuzz.
    bool fromTable(hb_font_t* font, hb_buffer_t* b, const std::vector<unsigned short>& units,
                   Shaped& out)
    {
        if (!simpleFont)
            return false;
        out.indices.resize(units.size());
        out.advances.resize(units.size());
        for (size_t i = 0; i < units.size(); ++i) {
            Char& c = charAt(units[i]);
            if (c.simple != YES && (c.simple == NO || !classify(font, b, units[i], c)))
                return false;
            out.indices[i] = c.glyph;
            out.advances[i] = c.advance;
        }
        out.glyphs.clear();
        out.generation = 0;
        return true;
    }

    const Glyph* glyph(FT_Face face, uint32_t index)
    {
        const Glyph** known = nullptr;
        if (index <= 0xFFFF) {
            std::unique_ptr<const Glyph*[]>& page = glyphPages[index >> 8];
            if (!page)
                page.reset(new const Glyph*[256]());
            known = &page[index & 0xFF];
            if (*known)
                return *known;
        }
        glyphs.emplace_back();
        Glyph& g = glyphs.back();
        if (FT_Load_Glyph(face, index, FT_LOAD_DEFAULT) == 0 &&
            FT_Render_Glyph(face->glyph, FT_RENDER_MODE_MONO) == 0) {
            const FT_GlyphSlot slot = face->glyph;
            const FT_Bitmap& bm = slot->bitmap;
            g.left = slot->bitmap_left;
            g.top = slot->bitmap_top;
            if (bm.pixel_mode != FT_PIXEL_MODE_MONO) {
                g.state = Glyph::NotMono;
            } else {
                g.state = Glyph::Ready;
                if (bm.buffer != nullptr && bm.rows > 0 && bm.pitch > 0) {
                    // Rows without a set bit at either end draw nothing and
                    // are not kept.
                    const size_t pitch = static_cast<size_t>(bm.pitch);
                    auto blank = [&](unsigned int r) {
                        const unsigned char* row = bm.buffer + r * pitch;
                        return std::all_of(row, row + pitch, [](unsigned char c) { return c == 0; });
                    };
                    unsigned int first = 0;
                    unsigned int end = bm.rows;
                    while (first < end && blank(first))
                        ++first;
                    while (end > first && blank(end - 1))
                        --end;
                    g.firstRow = first;
                    g.rows = end - first;
                    g.pitch = static_cast<unsigned int>(pitch);
                    g.bits.assign(bm.buffer + first * pitch, bm.buffer + end * pitch);
                }
            }
        }
        if (known)
            *known = &g;
        return &g;
    }

    // Makes room for n more glyphs before any pointer to them is handed
    // out; a text needing more than the whole cache overfills it until the
    // next text.
    void reserveGlyphs(size_t n)
    {
        if (glyphs.size() + n <= MAX_GLYPHS || glyphs.empty())
            return;
        glyphs.clear();
        for (auto& page : glyphPages)
            page.reset();
        ++generation; // every Shaped's glyph pointers are stale now
    }

    void resolve(FT_Face face, Shaped& s)
    {
        if (s.generation == generation && s.glyphs.size() == s.indices.size())
            return;
        reserveGlyphs(s.indices.size());
        s.glyphs.clear();
        for (uint32_t index : s.indices)
            s.glyphs.push_back(glyph(face, index));
        s.generation = generation;
    }
};

bool UFontManager::UnitOrder::operator()(const UString& a, const UString& b) const
{
    const std::vector<unsigned short>& x = a.storage();
    const std::vector<unsigned short>& y = b.storage();
    return std::lexicographical_compare(x.begin(), x.end(), y.begin(), y.end());
}

void UFontManager::release(Entry& e)
{
    if (e.data)
        e.data->dropProxy(); // it shares the face
    if (e.font.m_face)
        FT_Done_Face(e.font.m_face);
    if (e.font.m_font)
        hb_font_destroy(e.font.m_font);
    e.font = UFTHBFont();
    e.data.reset(); // the bytes go last: both of the above read them
}

UFontManager::UFontManager() : m_library(nullptr), m_buffer(nullptr)
{
    fterr = FT_Init_FreeType(&m_library);
    if (fterr != 0)
        m_library = nullptr;
}

UFontManager::~UFontManager()
{
    for (auto& entry : m_fonts)
        release(entry.second);
    if (m_library)
        FT_Done_FreeType(m_library);
    m_library = nullptr;
    m_fonts.clear();
    if (m_buffer)
        hb_buffer_destroy(m_buffer);
}

void UFontManager::loadFont(const UString& path, const UString& name)
{
    const std::string file = path.toUTF8();
    std::unique_ptr<FontData> data(new FontData);
    FT_Face face = nullptr;
    if (m_library == nullptr)
        fterr = FT_Err_Invalid_Library_Handle;
    else if ((fterr = readFile(file, data->bytes)) == 0) {
        static const unsigned char none = 0;
        const unsigned char* base = data->bytes.empty() ? &none : data->bytes.data();
        fterr = FT_New_Memory_Face(m_library, base, static_cast<FT_Long>(data->bytes.size()), 0,
                                   &face);
        // No driver took the bytes. FreeType reports that as an invalid
        // stream operation for memory, where for a file path (after looking
        // for a resource fork beside it) it reports an unknown format; the
        // line keeps saying what it always said.
        if (fterr == FT_Err_Invalid_Stream_Operation)
            fterr = FT_Err_Unknown_File_Format;
    }
    if (face == nullptr || fterr != 0) {
        // The face as a stream prints a pointer: "0" for none, else 0x and
        // lower-case hex digits; "%#" does exactly that.
        char faceText[2 + 2 * sizeof(void*) + 1];
        std::snprintf(faceText, sizeof faceText, "%#" PRIxPTR, reinterpret_cast<uintptr_t>(face));
        UAppComms::writeLine("UFontManager: FT_New_Face failed for: " + file +
                             " with error: " + std::to_string(fterr) + ", face: " + faceText);
        if (face)
            FT_Done_Face(face);
        return;
    }

    hb_font_t* font = hb_ft_font_create(face, nullptr);
    if (font == nullptr || font == hb_font_get_empty()) {
        UAppComms::writeLine("UFontManager: hb_ft_font_create failed for: " + file);
        if (font)
            hb_font_destroy(font);
        FT_Done_Face(face);
        return;
    }

    data->ft = font;
    Entry& entry = m_fonts[name];
    release(entry);
    entry.font = UFTHBFont(face, font);
    entry.data = std::move(data);
}

UFTHBFont UFontManager::getFont(const UString& name)
{
    if (m_fonts.empty())
        return UFTHBFont();
    // An unknown name gets an empty entry that a later loadFont() fills.
    return m_fonts[name].font;
}

const UFontManager::Shaped* UFontManager::shape(const UString& name, const UString& text,
                                                bool glyphs)
{
    if (m_fonts.empty())
        return nullptr;
    Entry& entry = m_fonts[name];
    if (entry.font.isNull() || !entry.data)
        return nullptr;
    FontData& data = *entry.data;
    const std::vector<unsigned short>& units = text.storage();
    const int locale = localeKey();

    Shaped* shaped = &data.scratch;
    FontData::Slot* slot = nullptr;
    if (units.size() <= MAX_CACHED_UNITS) {
        // Rotate and mix in each unit (two cycles a unit, where a multiply
        // per unit costs four), then spread the bits once.
        uint32_t h = static_cast<uint32_t>(locale);
        for (unsigned short u : units)
            h = ((h << 5) | (h >> 27)) ^ u;
        h *= 0x9E3779B1u;
        slot = &data.slots[(h >> 16) & (SHAPE_SLOTS - 1)];
        if (slot->used && slot->locale == locale && slot->units == units) {
            if (glyphs)
                data.resolve(entry.font.m_face, slot->shaped);
            return &slot->shaped;
        }
        shaped = &slot->shaped;
        slot->used = false;
    }

    // One buffer serves every shaping, emptied before each.
    if (m_buffer == nullptr) {
        hb_buffer_t* created = hb_buffer_create();
        if (created == nullptr || !hb_buffer_allocation_successful(created)) {
            if (created)
                hb_buffer_destroy(created);
            return nullptr;
        }
        m_buffer = created;
    }
    hb_buffer_t* b = m_buffer;
    hb_font_t* font = data.shapingFont(entry.font.m_face);
    // Text the per-character table covers skips HarfBuzz.
    if (locale != 0 || !data.fromTable(font, b, units, *shaped)) {
        hb_buffer_clear_contents(b);
        adjustBufferForLocale(b);
        hb_buffer_guess_segment_properties(b);
        // HarfBuzz reads the text as the UTF-8 that UString makes of it, up to
        // its first NUL. Without surrogates (which that UTF-8 spells unit by
        // unit, and HarfBuzz then replaces byte by byte) the units themselves
        // read the same and save the conversion.
        const size_t end = std::find(units.begin(), units.end(), 0) - units.begin();
        if (std::none_of(units.begin(), units.begin() + end,
                         [](unsigned short u) { return u >= 0xD800 && u <= 0xDFFF; })) {
            hb_buffer_add_utf16(b, reinterpret_cast<const uint16_t*>(units.data()),
                                static_cast<int>(end), 0, -1);
        } else {
            const std::string utf8 = text.toUTF8();
            hb_buffer_add_utf8(b, utf8.c_str(), -1, 0, -1);
        }
        hb_shape(font, b, nullptr, 0);
        unsigned int n = 0;
        const hb_glyph_info_t* info = hb_buffer_get_glyph_infos(b, &n);
        const hb_glyph_position_t* pos = hb_buffer_get_glyph_positions(b, nullptr);
        shaped->indices.resize(n);
        shaped->advances.resize(n);
        shaped->glyphs.clear();
        shaped->generation = 0;
        for (unsigned int i = 0; i < n; ++i) {
            shaped->indices[i] = info[i].codepoint;
            shaped->advances[i] = pos[i].x_advance / 64;
        }
        hb_buffer_clear_contents(b);
    }

    if (slot) {
        slot->used = true;
        slot->locale = locale;
        slot->units = units;
    }
    if (glyphs)
        data.resolve(entry.font.m_face, *shaped);
    return shaped;
}
