#include "ufontmanager.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <deque>
#include <iostream>
#include <new>
#include <sstream>
#include <unordered_map>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ft2build.h>
#include FT_FREETYPE_H
#include <hb-ft.h>
#include <hb.h>

#include "uapplication.h"
#include "udrawer.h"

UTK_EXPORT int32_t fterr = 0;

namespace {

const unsigned int SHAPE_SLOTS = 128;      // direct-mapped, a power of two
const unsigned int MAX_CACHED_UNITS = 128; // longer texts are shaped every time
const size_t MAX_GLYPHS = 1024;

void writeLine(const std::ostringstream& line)
{
    std::cout << line.str() << std::endl;
}

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
    // Printable ASCII in a simple font (see simpleAscii()): HarfBuzz's own
    // nominal glyph and advance per character, asked once.
    enum { ASCII_FIRST = 0x20, ASCII_LAST = 0x7E, NO_GLYPH = 0xFFFFFFFFu };
    bool asciiKnown = false;
    bool asciiSimple = false;
    uint32_t asciiGlyph[ASCII_LAST - ASCII_FIRST + 1];
    int32_t asciiAdvance[ASCII_LAST - ASCII_FIRST + 1];
    std::deque<Glyph> glyphs;
    std::unordered_map<uint32_t, const Glyph*> glyphIndex;
    unsigned long generation = 1;

    // A face that is no sfnt (BDF, PCF) and has no kerning gives HarfBuzz
    // no layout tables and no kerning: shaping printable ASCII in Latin,
    // left to right, then maps each character to its nominal glyph with its
    // plain advance (no normalisation, ligature, mark or spacing rule
    // touches those characters). Such texts are answered from a table of
    // HarfBuzz's own answers for each character; any other text, font or
    // locale, or a character the font lacks, is shaped by HarfBuzz.
    bool simpleAscii(const UFTHBFont& f, const std::vector<unsigned short>& units, Shaped& out)
    {
        if (!asciiKnown) {
            asciiKnown = true;
            asciiSimple = !FT_IS_SFNT(f.m_face) && !FT_HAS_KERNING(f.m_face);
            for (unsigned int c = ASCII_FIRST; c <= ASCII_LAST; ++c) {
                hb_codepoint_t g = 0;
                const bool has = hb_font_get_nominal_glyph(f.m_font, c, &g);
                asciiGlyph[c - ASCII_FIRST] = has ? g : NO_GLYPH;
                asciiAdvance[c - ASCII_FIRST] = has ? hb_font_get_glyph_h_advance(f.m_font, g) / 64 : 0;
            }
        }
        if (!asciiSimple)
            return false;
        for (unsigned short u : units)
            if (u < ASCII_FIRST || u > ASCII_LAST || asciiGlyph[u - ASCII_FIRST] == NO_GLYPH)
                return false;
        out.indices.resize(units.size());
        out.advances.resize(units.size());
        for (size_t i = 0; i < units.size(); ++i) {
            out.indices[i] = asciiGlyph[units[i] - ASCII_FIRST];
            out.advances[i] = asciiAdvance[units[i] - ASCII_FIRST];
        }
        out.glyphs.clear();
        out.generation = 0;
        return true;
    }

    const Glyph* glyph(FT_Face face, uint32_t index)
    {
        auto it = glyphIndex.find(index);
        if (it != glyphIndex.end())
            return it->second;
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
        glyphIndex.emplace(index, &g);
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
        glyphIndex.clear();
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
        std::ostringstream line;
        line << "UFontManager: FT_New_Face failed for: " << file << " with error: " << fterr
             << ", face: " << static_cast<const void*>(face);
        writeLine(line);
        if (face)
            FT_Done_Face(face);
        return;
    }

    hb_font_t* font = hb_ft_font_create(face, nullptr);
    if (font == nullptr || font == hb_font_get_empty()) {
        std::ostringstream line;
        line << "UFontManager: hb_ft_font_create failed for: " << file;
        writeLine(line);
        if (font)
            hb_font_destroy(font);
        FT_Done_Face(face);
        return;
    }

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
        uint32_t h = 2166136261u ^ static_cast<uint32_t>(locale);
        for (unsigned short u : units)
            h = (h ^ u) * 16777619u;
        slot = &data.slots[(h ^ (h >> 15)) & (SHAPE_SLOTS - 1)];
        if (slot->used && slot->locale == locale && slot->units == units) {
            if (glyphs)
                data.resolve(entry.font.m_face, slot->shaped);
            return &slot->shaped;
        }
        shaped = &slot->shaped;
        slot->used = false;
    }

    if (locale == 0 && data.simpleAscii(entry.font, units, *shaped)) {
        if (slot) {
            slot->used = true;
            slot->locale = locale;
            slot->units = units;
        }
        if (glyphs)
            data.resolve(entry.font.m_face, *shaped);
        return shaped;
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
    hb_buffer_clear_contents(b);
    adjustBufferForLocale(b);
    hb_buffer_guess_segment_properties(b);
    const std::string utf8 = text.toUTF8();
    hb_buffer_add_utf8(b, utf8.c_str(), -1, 0, -1);
    hb_shape(entry.font.m_font, b, nullptr, 0);
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

    if (slot) {
        slot->used = true;
        slot->locale = locale;
        slot->units = units;
    }
    if (glyphs)
        data.resolve(entry.font.m_face, *shaped);
    return shaped;
}
