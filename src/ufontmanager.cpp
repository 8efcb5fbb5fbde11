#include "ufontmanager.h"

#include <iostream>
#include <sstream>

#include <ft2build.h>
#include FT_FREETYPE_H
#include <hb-ft.h>
#include <hb.h>

int32_t fterr = 0;

namespace {

void writeLine(const std::ostringstream& line)
{
    std::cout << line.str() << std::endl;
}

void release(UFTHBFont& f)
{
    if (f.m_face)
        FT_Done_Face(f.m_face);
    if (f.m_font)
        hb_font_destroy(f.m_font);
    f.m_face = nullptr;
    f.m_font = nullptr;
}

} // namespace

UFontManager::UFontManager() : m_library(nullptr)
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
}

void UFontManager::loadFont(const UString& path, const UString& name)
{
    const std::string file = path.toUTF8();
    FT_Face face = nullptr;
    if (m_library)
        fterr = FT_New_Face(m_library, file.c_str(), 0, &face);
    else
        fterr = FT_Err_Invalid_Library_Handle;
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

    auto it = m_fonts.find(name);
    if (it != m_fonts.end()) {
        release(it->second);
        it->second = UFTHBFont(face, font);
    } else {
        m_fonts.emplace(name, UFTHBFont(face, font));
    }
}

UFTHBFont UFontManager::getFont(const UString& name)
{
    if (m_fonts.empty())
        return UFTHBFont();
    // An unknown name gets an empty entry that a later loadFont() fills.
    return m_fonts[name];
}
