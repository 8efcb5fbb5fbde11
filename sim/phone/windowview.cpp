// The SDL window: the LCD magnified, a pixel grid from 4 times up, and a
// keypad of buttons under it. Buttons take mouse presses and releases;
// the keyboard keys of keymap.h press and release the keys they name, so
// holding a key holds it on the phone (the key listener then repeats it).
// Labels are drawn from a small built-in 3 x 5 pixel font.
#include <SDL.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "views.h"

namespace {

// 3 x 5 glyphs, one row of three bits (4 = left) per entry.
struct Glyph {
    char c;
    unsigned char rows[5];
};
const Glyph GLYPHS[] = {
    {'0', {7, 5, 5, 5, 7}}, {'1', {2, 6, 2, 2, 7}}, {'2', {7, 1, 7, 4, 7}}, {'3', {7, 1, 7, 1, 7}},
    {'4', {5, 5, 7, 1, 1}}, {'5', {7, 4, 7, 1, 7}}, {'6', {7, 4, 7, 5, 7}}, {'7', {7, 1, 1, 1, 1}},
    {'8', {7, 5, 7, 5, 7}}, {'9', {7, 5, 7, 1, 7}}, {'*', {0, 5, 2, 5, 0}}, {'#', {5, 7, 5, 7, 5}},
    {'<', {1, 2, 4, 2, 1}}, {'>', {4, 2, 1, 2, 4}}, {'^', {0, 2, 5, 0, 0}}, {'v', {0, 0, 5, 2, 0}},
    {'O', {7, 5, 5, 5, 7}}, {'K', {5, 5, 6, 5, 5}}, {'F', {7, 4, 6, 4, 4}},
};

struct Button {
    const char* label;
    int raw;
    SDL_Rect rect;
};

const int BUTTON_W = 44, BUTTON_H = 28, GAP = 8, MARGIN = 16;

class WindowView : public View {
public:
    WindowView(int scale, const std::string& readBack) : m_scale(scale), m_readBack(readBack) {}

    bool open()
    {
        if (SDL_Init(SDL_INIT_VIDEO) != 0) {
            std::fprintf(stderr, "utk-phone: no window: %s\n", SDL_GetError());
            return false;
        }
        m_sdl = true;
        layout(199, 48);
        m_window = SDL_CreateWindow("utk phone", SDL_WINDOWPOS_UNDEFINED, SDL_WINDOWPOS_UNDEFINED,
                                    m_width, m_height, 0);
        if (m_window)
            m_renderer = SDL_CreateRenderer(m_window, -1, SDL_RENDERER_SOFTWARE);
        if (!m_renderer) {
            std::fprintf(stderr, "utk-phone: no window: %s\n", SDL_GetError());
            return false;
        }
        redraw();
        return true;
    }

    ~WindowView() override
    {
        if (m_renderer)
            SDL_DestroyRenderer(m_renderer);
        if (m_window)
            SDL_DestroyWindow(m_window);
        if (m_sdl)
            SDL_Quit();
    }

    void show(const snapshot::Picture& lcd) override
    {
        if (lcd.width != m_lcd.width || lcd.height != m_lcd.height) {
            layout(lcd.width, lcd.height);
            SDL_SetWindowSize(m_window, m_width, m_height);
        }
        m_lcd = lcd;
        redraw();
    }

    void status(const std::string& text) override
    {
        std::fprintf(stderr, "utk-phone: %s\n", text.c_str());
    }

    std::vector<ViewKey> keys(int timeoutMs) override
    {
        std::vector<ViewKey> out;
        SDL_Event e;
        if (!SDL_WaitEventTimeout(&e, timeoutMs))
            return out;
        do {
            handle(e, out);
        } while (SDL_PollEvent(&e));
        return out;
    }

private:
    void layout(uint32_t w, uint32_t h)
    {
        m_lcdW = int(w) * m_scale;
        m_lcdH = int(h) * m_scale;
        static const struct {
            const char* label;
            int raw;
        } rows[6][5] = {
            {{"F1", 18}, {"F2", 19}, {"F3", 20}, {"F4", 21}, {nullptr, 0}},
            {{"<", 14}, {"^", 12}, {"v", 13}, {">", 15}, {"OK", 16}},
            {{"1", 1}, {"2", 2}, {"3", 3}, {nullptr, 0}, {nullptr, 0}},
            {{"4", 4}, {"5", 5}, {"6", 6}, {nullptr, 0}, {nullptr, 0}},
            {{"7", 7}, {"8", 8}, {"9", 9}, {nullptr, 0}, {nullptr, 0}},
            {{"*", 10}, {"0", 0}, {"#", 11}, {nullptr, 0}, {nullptr, 0}},
        };
        m_buttons.clear();
        const int padW = 5 * BUTTON_W + 4 * GAP;
        m_width = std::max(m_lcdW, padW) + 2 * MARGIN;
        const int left = (m_width - padW) / 2;
        int y = MARGIN + m_lcdH + 2 * MARGIN;
        for (const auto& row : rows) {
            for (int i = 0; i < 5; ++i)
                if (row[i].label)
                    m_buttons.push_back({row[i].label, row[i].raw,
                                         {left + i * (BUTTON_W + GAP), y, BUTTON_W, BUTTON_H}});
            y += BUTTON_H + GAP;
        }
        m_height = y + MARGIN - GAP;
    }

    void text(const char* s, int cx, int cy, int px)
    {
        const int n = int(std::strlen(s));
        int x = cx - (n * 4 - 1) * px / 2;
        const int y = cy - 5 * px / 2;
        for (; *s; ++s, x += 4 * px)
            for (const Glyph& g : GLYPHS)
                if (g.c == *s)
                    for (int r = 0; r < 5; ++r)
                        for (int c = 0; c < 3; ++c)
                            if (g.rows[r] & (4 >> c)) {
                                SDL_Rect dot = {x + c * px, y + r * px, px, px};
                                SDL_RenderFillRect(m_renderer, &dot);
                            }
    }

    void redraw()
    {
        SDL_SetRenderDrawColor(m_renderer, 60, 60, 64, 255);
        SDL_RenderClear(m_renderer);
        const int x0 = (m_width - m_lcdW) / 2, y0 = MARGIN;
        SDL_Rect frame = {x0 - 4, y0 - 4, m_lcdW + 8, m_lcdH + 8};
        SDL_SetRenderDrawColor(m_renderer, 20, 20, 20, 255);
        SDL_RenderFillRect(m_renderer, &frame);
        for (uint32_t y = 0; y < m_lcd.height; ++y)
            for (uint32_t x = 0; x < m_lcd.width; ++x) {
                const uint8_t* c = &m_lcd.rgb[(size_t(y) * m_lcd.width + x) * 3];
                SDL_SetRenderDrawColor(m_renderer, c[0], c[1], c[2], 255);
                SDL_Rect r = {x0 + int(x) * m_scale, y0 + int(y) * m_scale, m_scale, m_scale};
                SDL_RenderFillRect(m_renderer, &r);
            }
        if (m_lcd.width == 0) {
            SDL_Rect blank = {x0, y0, m_lcdW, m_lcdH};
            SDL_SetRenderDrawColor(m_renderer, 255, 255, 255, 255);
            SDL_RenderFillRect(m_renderer, &blank);
        }
        if (m_scale >= 4) {
            // The pixel grid: a mid grey line at the edge of every pixel.
            SDL_SetRenderDrawColor(m_renderer, 128, 128, 128, 255);
            for (int x = 0; x <= m_lcdW; x += m_scale)
                SDL_RenderDrawLine(m_renderer, x0 + x, y0, x0 + x, y0 + m_lcdH - 1);
            for (int y = 0; y <= m_lcdH; y += m_scale)
                SDL_RenderDrawLine(m_renderer, x0, y0 + y, x0 + m_lcdW - 1, y0 + y);
        }
        for (const Button& b : m_buttons) {
            const bool down = b.raw == m_clicked;
            SDL_SetRenderDrawColor(m_renderer, down ? 120 : 200, down ? 120 : 200, down ? 130 : 205, 255);
            SDL_RenderFillRect(m_renderer, &b.rect);
            SDL_SetRenderDrawColor(m_renderer, 0, 0, 0, 255);
            text(b.label, b.rect.x + b.rect.w / 2, b.rect.y + b.rect.h / 2, 3);
        }
        SDL_RenderPresent(m_renderer);
        if (!m_readBack.empty())
            readBack();
    }

    void readBack()
    {
        snapshot::Picture p;
        p.width = uint32_t(m_width);
        p.height = uint32_t(m_height);
        p.rgb.resize(size_t(m_width) * m_height * 3);
        if (SDL_RenderReadPixels(m_renderer, nullptr, SDL_PIXELFORMAT_RGB24, p.rgb.data(), m_width * 3) == 0)
            snapshot::writePng(p, m_readBack, 1);
    }

    static int rawOfKey(const SDL_Keysym& k)
    {
        const bool shift = k.mod & KMOD_SHIFT;
        if (shift && k.sym == SDLK_3)
            return 11;
        if (shift && k.sym == SDLK_8)
            return 10;
        if (k.sym >= SDLK_0 && k.sym <= SDLK_9)
            return k.sym - SDLK_0;
        if (k.sym >= SDLK_KP_1 && k.sym <= SDLK_KP_9)
            return k.sym - SDLK_KP_1 + 1;
        switch (k.sym) {
        case SDLK_KP_0: return 0;
        case SDLK_ASTERISK:
        case SDLK_KP_MULTIPLY: return 10;
        case SDLK_HASH: return 11;
        case SDLK_UP: return 12;
        case SDLK_DOWN: return 13;
        case SDLK_LEFT:
        case SDLK_BACKSPACE: return 14;
        case SDLK_RIGHT: return 15;
        case SDLK_RETURN:
        case SDLK_KP_ENTER: return 16;
        case SDLK_F1:
        case SDLK_a: return 18;
        case SDLK_F2:
        case SDLK_s: return 19;
        case SDLK_F3:
        case SDLK_d: return 20;
        case SDLK_F4:
        case SDLK_f: return 21;
        default: return -1;
        }
    }

    void handle(const SDL_Event& e, std::vector<ViewKey>& out)
    {
        ViewKey k;
        switch (e.type) {
        case SDL_QUIT:
            k.kind = ViewKey::Quit;
            out.push_back(k);
            break;
        case SDL_KEYDOWN:
        case SDL_KEYUP:
            if (e.key.repeat)
                break;
            if (e.type == SDL_KEYDOWN && (e.key.keysym.sym == SDLK_q || e.key.keysym.sym == SDLK_ESCAPE)) {
                k.kind = ViewKey::Quit;
                out.push_back(k);
                break;
            }
            k.raw = rawOfKey(e.key.keysym);
            if (k.raw < 0)
                break;
            k.kind = e.type == SDL_KEYDOWN ? ViewKey::Press : ViewKey::Release;
            out.push_back(k);
            break;
        case SDL_MOUSEBUTTONDOWN:
            for (const Button& b : m_buttons) {
                const SDL_Point p = {e.button.x, e.button.y};
                if (SDL_PointInRect(&p, &b.rect)) {
                    m_clicked = b.raw;
                    k.kind = ViewKey::Press;
                    k.raw = b.raw;
                    out.push_back(k);
                    redraw();
                }
            }
            break;
        case SDL_MOUSEBUTTONUP:
            if (m_clicked >= 0) {
                k.kind = ViewKey::Release;
                k.raw = m_clicked;
                out.push_back(k);
                m_clicked = -1;
                redraw();
            }
            break;
        case SDL_WINDOWEVENT:
            if (e.window.event == SDL_WINDOWEVENT_EXPOSED)
                redraw();
            break;
        default:
            break;
        }
    }

    int m_scale;
    std::string m_readBack;
    bool m_sdl = false;
    SDL_Window* m_window = nullptr;
    SDL_Renderer* m_renderer = nullptr;
    snapshot::Picture m_lcd;
    int m_lcdW = 0, m_lcdH = 0, m_width = 0, m_height = 0;
    std::vector<Button> m_buttons;
    int m_clicked = -1;
};

} // namespace

std::unique_ptr<View> makeWindowView(int scale, const std::string& readBack)
{
    std::unique_ptr<WindowView> v(new WindowView(scale, readBack));
    if (!v->open())
        return nullptr;
    return std::unique_ptr<View>(v.release());
}
