#!/usr/bin/env python3
"""Draws the toolkit's bitmap fonts from the pictures below and writes them.

Run from anywhere: python3 tools/mkfonts.py
Writes (relative to the repository root):
  fonts/utk-text-12.bdf        Latin text font, 12 px cell (ascent 10, descent 2)
  fonts/utk-icons-10.bdf       icon font, private-use code points, 10 px cell
  tests/fonts/arabic-12.bdf    a few Arabic letters with distinct shapes (tests)
  tests/fonts/strikes.otb      one font with bitmap strikes 8, 12 and 10 px (tests)

Pictures: '#' is ink, '.' is background. A sheet lists its characters on the
first line and then the pixel rows of all of them side by side, one picture
per whitespace-separated token; `top` is the cell row of the sheet's first
row. Cell rows run 0..11 from the top; the baseline lies under row 9, so a
pixel on row 9 sits on the baseline and rows 10 and 11 are descenders. The
text operations put the baseline 10 pixels below the y they are given, so
cell row r of a glyph lands on screen row y + r.

Every glyph advances by its picture's width plus one column of spacing
(unless it says otherwise), so the text font is proportional.
"""

import os
import struct
import sys

ROOT = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), '..'))

# --------------------------------------------------------------------------
# Glyph model

class Glyph:
    def __init__(self, rows, top, advance=None):
        # rows: list of equal-length strings of '#' and '.'; top: cell row of rows[0]
        width = max((len(r) for r in rows), default=0)
        self.rows = [r.ljust(width, '.') for r in rows]
        self.top = top
        self.width = width
        self.advance = width + 1 if advance is None else advance

    def ink(self):
        """(first, last) cell rows holding ink, or None."""
        idx = [i for i, r in enumerate(self.rows) if '#' in r]
        if not idx:
            return None
        return self.top + idx[0], self.top + idx[-1]


def parse_sheet(chars, top, text):
    names = chars.split()
    lines = [l for l in text.strip('\n').split('\n')]
    table = [l.split() for l in lines]
    for n, toks in enumerate(table):
        if len(toks) != len(names):
            raise SystemExit('sheet %r row %d: %d pictures for %d characters'
                             % (chars, n, len(toks), len(names)))
    out = {}
    for i, name in enumerate(names):
        col = [toks[i] for toks in table]
        if len(set(len(c) for c in col)) != 1:
            raise SystemExit('sheet %r: picture of %r has ragged rows' % (chars, name))
        cp = int(name[2:], 16) if name.startswith('U+') else ord(name)
        out[cp] = Glyph(col, top)
    return out


def compose(base, accent, accent_top):
    """A base glyph with an accent picture placed at cell row accent_top,
    both centred on the wider of the two."""
    aw = len(accent[0])
    w = max(base.width, aw)
    top = min(base.top, accent_top)
    bottom = max(base.top + len(base.rows), accent_top + len(accent))
    grid = [['.'] * w for _ in range(bottom - top)]

    def put(rows, row0, col0):
        for r, line in enumerate(rows):
            for c, ch in enumerate(line):
                if ch == '#':
                    grid[row0 - top + r][col0 + c] = '#'

    put(base.rows, base.top, (w - base.width) // 2)
    put(accent, accent_top, (w - aw + 1) // 2 if aw < w and (w - aw) % 2 else (w - aw) // 2)
    return Glyph([''.join(r) for r in grid], top)


# --------------------------------------------------------------------------
# The text font

UPPER = parse_sheet('A B C D E F G H I J K L M', 3, r'''
.###. ####. .###. ####. ##### ##### .###. #...# ### ..### #...# #.... #...#
#...# #...# #...# #...# #.... #.... #...# #...# .#. ...#. #..#. #.... ##.##
#...# #...# #.... #...# #.... #.... #.... #...# .#. ...#. #.#.. #.... #.#.#
##### ####. #.... #...# ####. ####. #.### ##### .#. ...#. ##... #.... #.#.#
#...# #...# #.... #...# #.... #.... #...# #...# .#. ...#. #.#.. #.... #...#
#...# #...# #...# #...# #.... #.... #...# #...# .#. #..#. #..#. #.... #...#
#...# ####. .###. ####. ##### #.... .#### #...# ### .##.. #...# ##### #...#
''')

UPPER.update(parse_sheet('N O P Q R S T U V W X Y Z', 3, r'''
#...# .###. ####. .###. ####. .###. ##### #...# #...# #...# #...# #...# #####
#...# #...# #...# #...# #...# #...# ..#.. #...# #...# #...# #...# #...# ....#
##..# #...# #...# #...# #...# #.... ..#.. #...# #...# #...# .#.#. .#.#. ...#.
#.#.# #...# ####. #...# ####. .###. ..#.. #...# #...# #.#.# ..#.. ..#.. ..#..
#..## #...# #.... #.#.# #.#.. ....# ..#.. #...# #...# #.#.# .#.#. ..#.. .#...
#...# #...# #.... #..#. #..#. #...# ..#.. #...# .#.#. #.#.# #...# ..#.. #....
#...# .###. #.... .##.# #...# .###. ..#.. .###. ..#.. .#.#. #...# ..#.. #####
'''))

DIGITS = parse_sheet('0 1 2 3 4 5 6 7 8 9', 3, r'''
.###. ..#.. .###. ##### ...#. ##### ..##. ##### .###. .###.
#...# .##.. #...# ...#. ..##. #.... .#... ....# #...# #...#
#..## ..#.. ....# ..#.. .#.#. ####. #.... ...#. #...# #...#
#.#.# ..#.. ...#. ...#. #..#. ....# ####. ..#.. .###. .####
##..# ..#.. ..#.. ....# ##### ....# #...# .#... #...# ....#
#...# ..#.. .#... #...# ...#. #...# #...# .#... #...# ...#.
.###. .###. ##### .###. ...#. .###. .###. .#... .###. .##..
''')

LOWER = parse_sheet('a b c d e f g h i j k l m', 3, r'''
..... #.... ..... ....# ..... ..## ..... #.... # ..# #... # .....
..... #.... ..... ....# ..... .#.. ..... #.... . ... #... # .....
.###. ####. .###. .#### .###. #### .#### ####. # ..# #..# # ##.#.
....# #...# #.... #...# #...# .#.. #...# #...# # ..# #.#. # #.#.#
.#### #...# #.... #...# ##### .#.. #...# #...# # ..# ##.. # #.#.#
#...# #...# #...# #...# #.... .#.. #...# #...# # ..# #.#. # #.#.#
.#### ####. .###. .#### .###. .#.. .#### #...# # ..# #..# # #.#.#
..... ..... ..... ..... ..... .... ....# ..... . #.# .... . .....
..... ..... ..... ..... ..... .... .###. ..... . .#. .... . .....
''')

LOWER.update(parse_sheet('n o p q r s t u v w x y z', 3, r'''
..... ..... ..... ..... .... ..... .#.. ..... ..... ..... ..... ..... .....
..... ..... ..... ..... .... ..... .#.. ..... ..... ..... ..... ..... .....
####. .###. ####. .#### #.## .#### #### #...# #...# #...# #...# #...# #####
#...# #...# #...# #...# ##.. #.... .#.. #...# #...# #...# .#.#. #...# ...#.
#...# #...# #...# #...# #... .###. .#.. #...# #...# #.#.# ..#.. #...# ..#..
#...# #...# #...# #...# #... ....# .#.. #...# .#.#. #.#.# .#.#. #...# .#...
#...# .###. ####. .#### #... ####. ..## .#### ..#.. .#.#. #...# .#### #####
..... ..... #.... ....# .... ..... .... ..... ..... ..... ..... ....# .....
..... ..... #.... ....# .... ..... .... ..... ..... ..... ..... .###. .....
'''))

PUNCT = parse_sheet(r"""! " # $ % & ' ( ) * + , - . / : ;""", 3, r'''
# #.# .#.#. ..#.. ##... .##.. # ..# #.. ..... ..... .. .... . ....# . ..
# #.# .#.#. .#### ##..# #..#. # .#. .#. ..#.. ..#.. .. .... . ...#. . ..
# ... ##### #.#.. ...#. #.#.. . #.. ..# #.#.# ..#.. .. .... . ...#. # .#
# ... .#.#. .###. ..#.. .#... . #.. ..# .###. ##### .. #### . ..#.. . ..
# ... ##### ..#.# .#... #.#.# . #.. ..# #.#.# ..#.. .. .... . .#... . ..
. ... .#.#. ####. #..## #..#. . .#. .#. ..#.. ..#.. .# .... . .#... # .#
# ... .#.#. ..#.. ...## .##.# . ..# #.. ..... ..... .# .... # #.... . .#
. ... ..... ..... ..... ..... . ... ... ..... ..... #. .... . ..... . #.
''')

PUNCT.update(parse_sheet(r'< = > ? @ [ \ ] ^ _ ` { | } ~', 3, r'''
...# ..... #... .###. .###. ### #.... ### ..#.. ..... #. ..# # #.. .....
..#. ..... .#.. #...# #...# #.. .#... ..# .#.#. ..... .# .#. # .#. .....
.#.. ##### ..#. ....# #.### #.. .#... ..# #...# ..... .. .#. # .#. .##.#
#... ..... ...# ...#. #.#.# #.. ..#.. ..# ..... ..... .. #.. # ..# #.##.
.#.. ##### ..#. ..#.. #.### #.. ...#. ..# ..... ..... .. .#. # .#. .....
..#. ..... .#.. ..... #.... #.. ...#. ..# ..... ..... .. .#. # .#. .....
...# ..... #... ..#.. .#### ### ....# ### ..... ..... .. ..# # #.. .....
.... ..... .... ..... ..... ... ..... ... ..... ##### .. ... # ... .....
'''))

LATIN1 = parse_sheet('U+A1 U+A2 U+A3 U+A4 U+A5 U+A6 U+A7 U+A8 U+A9 U+AA U+AB U+AC U+AE', 3, r'''
. ..... ..##. ..... #...# # .### #.# .#####. .## ..... ..... .#####.
. ..#.. .#..# #...# .#.#. # #... ... #.....# #.# ..... ..... #.....#
# .###. .#... .###. ..#.. # .##. ... #.###.# .## ..#.# ..... #.##..#
. #.#.# ###.. .#.#. ##### . #..# ... #.#...# ... .#.#. ##### #.#.#.#
# #.#.. .#... .###. ..#.. # #..# ... #.###.# ### #.#.. ....# #.##..#
# #.#.# .#..# #...# ##### # .##. ... #.....# ... .#.#. ..... #.#.#.#
# .###. #.##. ..... ..#.. # ...# ... .#####. ... ..#.# ..... .#####.
# ..#.. ..... ..... ..... # ###. ... ....... ... ..... ..... .......
# ..... ..... ..... ..... . .... ... ....... ... ..... ..... .......
''')

LATIN1.update(parse_sheet('U+AF U+B0 U+B1 U+B2 U+B3 U+B4 U+B5 U+B6 U+B7 U+B8 U+B9 U+BA U+BB', 3, r'''
##### .##. ..... ##. ##. .# ..... .#### . .. .#. .#. .....
..... #..# ..#.. ..# ..# #. ..... ###.# . .. ##. #.# .....
..... #..# ..#.. .#. .#. .. #...# ###.# . .. .#. .#. #.#..
..... .##. ##### #.. ..# .. #...# .##.# # .. .#. ... .#.#.
..... .... ..#.. ### ##. .. #...# ..#.# . .. ### ### ..#.#
..... .... ..#.. ... ... .. #..## ..#.# . .. ... ... .#.#.
..... .... ##### ... ... .. ###.# ..#.# . .. ... ... #.#..
..... .... ..... ... ... .. #.... ..#.# . .# ... ... .....
..... .... ..... ... ... .. #.... ..... . #. ... ... .....
'''))

LATIN1.update(parse_sheet('U+BC U+BD U+BE U+BF U+D7 U+F7 U+D8 U+F8 U+C6 U+E6 U+DF', 3, r'''
#....#. #....#. ##...#. ..... ..... ..... .###. ..... .###### ....... .##..
#...#.. #...#.. .#..#.. ..... ..... ..#.. #..## ..... #..#... ....... #..#.
#..#... #..#... ##.#... ..#.. #...# ..... #.#.# .###. #..#... .##.##. #.#..
..#.... ..#.... ..#.... ..... .#.#. ##### #.#.# #..## ####### ...#..# #.##.
.#..#.# .#..##. .#..#.# ..#.. ..#.. ..... #.#.# #.#.# #..#... .###### #...#
#...### #....#. #...### .#... .#.#. ..#.. ##..# ##..# #..#... #..#... #...#
......# .....## ......# #.... #...# ..... .###. .###. #..#### .##.### #.##.
....... ....... ....... #...# ..... ..... ..... ..... ....... ....... #....
....... ....... ....... .###. ..... ..... ..... ..... ....... ....... .....
'''))

LATIN1.update(parse_sheet('U+D0 U+F0 U+DE U+FE U+FFFD', 3, r'''
.####. .#.#. #.... #.... #####
.#...# ..#.. ####. #.... #...#
.#...# .#.#. #...# ####. #...#
####.# .#### #...# #...# #...#
.#...# #...# ####. #...# #...#
.#...# #...# #.... #...# #...#
.####. .###. #.... ####. #####
...... ..... ..... #.... .....
...... ..... ..... #.... .....
'''))

# Marker units: drawn 3 px lower than other glyphs when the drawer's marker
# flag is set. U+E000 a right-pointing triangle, U+E001 a disc, U+E002 a
# small star.
MARKERS = parse_sheet('U+E000 U+E001 U+E002', 3, r'''
#... .###. ..#..
##.. ##### #.#.#
###. ##### .###.
#### ##### #.#.#
###. .###. ..#..
##.. ..... .....
#... ..... .....
''')

ACCENTS = {
    'grave': ['#.', '.#'],
    'acute': ['.#', '#.'],
    'circumflex': ['.#.', '#.#'],
    'tilde': ['.##.#', '#.##.'],
    'diaeresis': ['#.#'],
    'ring': ['.#.', '#.#', '.#.'],
}

# Latin-1 letters built from a base letter and an accent.
COMPOSITES = [
    (0xC0, 'A', 'grave'), (0xC1, 'A', 'acute'), (0xC2, 'A', 'circumflex'),
    (0xC3, 'A', 'tilde'), (0xC4, 'A', 'diaeresis'), (0xC5, 'A', 'ring'),
    (0xC8, 'E', 'grave'), (0xC9, 'E', 'acute'), (0xCA, 'E', 'circumflex'),
    (0xCB, 'E', 'diaeresis'), (0xCC, 'I', 'grave'), (0xCD, 'I', 'acute'),
    (0xCE, 'I', 'circumflex'), (0xCF, 'I', 'diaeresis'), (0xD1, 'N', 'tilde'),
    (0xD2, 'O', 'grave'), (0xD3, 'O', 'acute'), (0xD4, 'O', 'circumflex'),
    (0xD5, 'O', 'tilde'), (0xD6, 'O', 'diaeresis'), (0xD9, 'U', 'grave'),
    (0xDA, 'U', 'acute'), (0xDB, 'U', 'circumflex'), (0xDC, 'U', 'diaeresis'),
    (0xDD, 'Y', 'acute'),
    (0xE0, 'a', 'grave'), (0xE1, 'a', 'acute'), (0xE2, 'a', 'circumflex'),
    (0xE3, 'a', 'tilde'), (0xE4, 'a', 'diaeresis'), (0xE5, 'a', 'ring'),
    (0xE8, 'e', 'grave'), (0xE9, 'e', 'acute'), (0xEA, 'e', 'circumflex'),
    (0xEB, 'e', 'diaeresis'), (0xEC, 'dotless-i', 'grave'),
    (0xED, 'dotless-i', 'acute'), (0xEE, 'dotless-i', 'circumflex'),
    (0xEF, 'dotless-i', 'diaeresis'), (0xF1, 'n', 'tilde'),
    (0xF2, 'o', 'grave'), (0xF3, 'o', 'acute'), (0xF4, 'o', 'circumflex'),
    (0xF5, 'o', 'tilde'), (0xF6, 'o', 'diaeresis'), (0xF9, 'u', 'grave'),
    (0xFA, 'u', 'acute'), (0xFB, 'u', 'circumflex'), (0xFC, 'u', 'diaeresis'),
    (0xFD, 'y', 'acute'), (0xFF, 'y', 'diaeresis'),
]

CEDILLA = ['..#', '.#.']


def text_font_glyphs():
    g = {}
    for table in (UPPER, LOWER, DIGITS, PUNCT, LATIN1, MARKERS):
        g.update(table)
    g[0x20] = Glyph(['...'], 9)              # space: 3 blank columns + 1
    g[0xA0] = g[0x20]                        # no-break space
    g[0xAD] = g[ord('-')]                    # soft hyphen
    bases = dict((chr(cp), gl) for cp, gl in g.items() if cp < 0x80)
    bases['dotless-i'] = Glyph(['#'] * 5, 5)
    for cp, base, accent in COMPOSITES:
        b = bases[base]
        upper = base.isupper()
        acc = ACCENTS[accent]
        if upper:
            # Capitals: accents on rows 0-1 above the cap line (row 3); the
            # ring sits on rows 0-2, touching the A.
            top = 0 if accent != 'diaeresis' else 1
        else:
            # Small letters: accents on rows 2-3 above the x-height (row 5).
            top = 2 if accent != 'diaeresis' else 3
            if accent == 'ring':
                top = 1
        g[cp] = compose(b, acc, top)
    # Cedillas hang below the baseline.
    g[0xC7] = compose(bases['C'], CEDILLA, 10)
    g[0xE7] = compose(bases['c'], CEDILLA, 10)
    return g


# --------------------------------------------------------------------------
# The icon font: private-use code points from U+E100. The cell is 10 rows,
# all above the baseline (ascent 10, descent 0).

ICON_NAMES = [
    (0xE100, 'arrow-up'), (0xE101, 'arrow-down'), (0xE102, 'arrow-left'),
    (0xE103, 'arrow-right'), (0xE104, 'phone'), (0xE105, 'call-missed'),
    (0xE106, 'call-incoming'), (0xE107, 'call-outgoing'), (0xE108, 'envelope'),
    (0xE109, 'contact'), (0xE10A, 'clock'), (0xE10B, 'check'),
    (0xE10C, 'cross'), (0xE10D, 'bell'), (0xE10E, 'voicemail'),
]

ICONS = parse_sheet('U+E100 U+E101 U+E102 U+E103 U+E104 U+E105 U+E106 U+E107', 1, r'''
....#.... ...###... ....#.... ....#.... .#########. ........#.# ..........# .......###
...###... ...###... ...##.... ....##... ########### .........#. .......#.#. ........##
..#####.. ...###... ..###.... ....###.. ##.......## ........#.# .......##.. .......#.#
.#######. ...###... .######## ########. ....###.... ........... .......###. ......#...
######### ######### ######### ######### ...#####... ..#######.. ..#######.. ..#######.
...###... .#######. .######## ########. ..##.#.##.. .#########. .#########. .#########
...###... ..#####.. ..###.... ....###.. .#########. ###.....### ###.....### ###.....##
...###... ...###... ...##.... ....##... .##.#.#.##. ###.....### ###.....### ###.....##
...###... ....#.... ....#.... ....#.... .#########. ........... ........... ..........
''')

ICONS.update(parse_sheet('U+E108 U+E109 U+E10A U+E10B U+E10C U+E10D U+E10E', 1, r'''
........... ...###... ..#####.. ........# ....... ....#.... ...........
########### ..#####.. .#..#..#. .......## ....... ..#####.. ...........
##.......## ..#####.. #...#...# ......##. #.....# .#######. ...........
#.#.....#.# ..#####.. #...#...# #....##.. ##...## .#######. .###...###.
#..#...#..# ...###... #...###.# ##..##... .##.##. .#######. #...#.#...#
#...#.#...# ......... #.......# .####.... ..###.. .#######. #...#.#...#
#....#....# .#######. #.......# ..##..... .##.##. ######### #...#.#...#
#.........# ######### .#.....#. ...#..... ##...## ......... .#########.
########### ######### ..#####.. ......... #.....# ....#.... ...........
'''))

ICON_DEFAULT = Glyph(['#######', '#.....#', '#.....#', '#.....#', '#.....#', '#.....#',
                      '#######'], 3)


# --------------------------------------------------------------------------
# Arabic test font: alef, beh, teh, lam, meem and space with shapes that are
# easy to tell apart in a picture, so a test can see the visual order.

ARABIC = parse_sheet('U+627 U+628 U+62A U+644 U+645', 3, r'''
# ..... .#.#. ...# .....
# ..... ..... ...# .....
# ..... ..... ...# ..##.
# #...# #...# #..# .#..#
# #...# #...# #..# ..##.
# ##### ##### .##. .#...
# ..... ..... .... #....
. ..#.. ..... .... .....
''')


# --------------------------------------------------------------------------
# BDF output

def bitmap_hex(rows):
    out = []
    nbytes = (len(rows[0]) + 7) // 8
    for r in rows:
        bits = r.ljust(nbytes * 8, '.')
        v = 0
        for ch in bits:
            v = (v << 1) | (1 if ch == '#' else 0)
        out.append('%0*X' % (nbytes * 2, v))
    return out


def write_bdf(path, family, glyphs, ascent, descent, default_char, comment):
    size = ascent + descent
    names = sorted(glyphs)
    avg = sum(glyphs[c].advance for c in names) * 10 // len(names)
    lines = [
        'STARTFONT 2.1',
        'COMMENT %s' % comment,
        'COMMENT Generated by tools/mkfonts.py; edit the pictures there.',
        'FONT -utk-%s-medium-r-normal--%d-%d-75-75-P-%d-ISO10646-1'
        % (family.lower().replace(' ', ''), size, size * 10, avg),
        'SIZE %d 75 75' % size,
    ]
    # Font bounding box over all glyphs.
    maxw = max(g.width for g in glyphs.values())
    lines.append('FONTBOUNDINGBOX %d %d 0 %d' % (maxw, size, -descent))
    props = [
        'FOUNDRY "utk"', 'FAMILY_NAME "%s"' % family, 'WEIGHT_NAME "Medium"',
        'SLANT "R"', 'SETWIDTH_NAME "Normal"', 'ADD_STYLE_NAME ""',
        'PIXEL_SIZE %d' % size, 'POINT_SIZE %d' % (size * 10),
        'RESOLUTION_X 75', 'RESOLUTION_Y 75', 'SPACING "P"',
        'AVERAGE_WIDTH %d' % avg, 'CHARSET_REGISTRY "ISO10646"',
        'CHARSET_ENCODING "1"', 'FONT_ASCENT %d' % ascent,
        'FONT_DESCENT %d' % descent, 'DEFAULT_CHAR %d' % default_char,
    ]
    lines.append('STARTPROPERTIES %d' % len(props))
    lines += props
    lines.append('ENDPROPERTIES')
    lines.append('CHARS %d' % len(names))
    for cp in names:
        g = glyphs[cp]
        ink = g.ink()
        lines.append('STARTCHAR uni%04X' % cp)
        lines.append('ENCODING %d' % cp)
        lines.append('SWIDTH %d 0' % (g.advance * 72000 // (size * 75)))
        lines.append('DWIDTH %d 0' % g.advance)
        if ink is None:
            lines.append('BBX 1 1 0 0')
            lines.append('BITMAP')
            lines.append('00')
        else:
            first, last = ink
            rows = g.rows[first - g.top:last - g.top + 1]
            # Baseline under cell row `ascent - 1`.
            yoff = (ascent - 1) - last
            lines.append('BBX %d %d 0 %d' % (g.width, len(rows), yoff))
            lines.append('BITMAP')
            lines += bitmap_hex(rows)
        lines.append('ENDCHAR')
    lines.append('ENDFONT')
    with open(path, 'w', newline='\n') as f:
        f.write('\n'.join(lines) + '\n')


# --------------------------------------------------------------------------
# OpenType bitmap-only output (EBLC/EBDT), for the multi-strike test font.
# Each strike has the same glyphs: .notdef and 'A' drawn as a filled block of
# the strike's height above and below the baseline.

def sfnt(tables):
    tags = sorted(tables)
    n = len(tags)
    es = 1
    while es * 2 <= n:
        es *= 2
    sr = es * 16
    import math
    header = struct.pack('>IHHHH', 0x00010000, n, sr, int(math.log2(es)), n * 16 - sr)
    offset = 12 + 16 * n
    dirs = b''
    body = b''
    for t in tags:
        data = tables[t]
        padded = data + b'\0' * ((4 - len(data) % 4) % 4)
        csum = sum(struct.unpack('>%dI' % (len(padded) // 4), padded)) & 0xFFFFFFFF
        dirs += struct.pack('>4sIII', t.encode('ascii'), csum, offset + len(body), len(data))
        body += padded
    return header + dirs + body


def write_strikes_otb(path, strikes):
    # strikes: list of (ascent, descent); glyph 1 ('A') is a block, 4 px wide.
    num_glyphs = 2
    upem = 1000
    head = struct.pack('>IIIIHHqqhhhhHHhhh', 0x00010000, 0x00010000, 0, 0x5F0F3CF5, 0x000B,
                       upem, 0, 0, 0, -200, 500, 800, 0, 8, 2, 0, 0)
    hhea = struct.pack('>IhhhHhhhhhhhhhhhH', 0x00010000, 800, -200, 0, 500, 0, 0, 500, 1, 0, 0,
                       0, 0, 0, 0, 0, num_glyphs)
    hmtx = struct.pack('>HhHh', 500, 0, 500, 0)
    maxp = struct.pack('>IH', 0x00005000, num_glyphs)
    # cmap: format 4, 'A' -> glyph 1.
    segs = [(0x41, 0x41, 1 - 0x41), (0xFFFF, 0xFFFF, 1)]
    segx2 = len(segs) * 2
    es = 1
    while es * 2 <= len(segs):
        es *= 2
    f4 = struct.pack('>HHHHHH', 4, 0, 0, segx2, es * 2, int(es).bit_length() - 1)
    f4 = f4[:6] + struct.pack('>HHHH', segx2, es * 2, int(es).bit_length() - 1, segx2 - es * 2)
    f4 += b''.join(struct.pack('>H', s[1]) for s in segs) + b'\0\0'
    f4 += b''.join(struct.pack('>H', s[0]) for s in segs)
    f4 += b''.join(struct.pack('>h', s[2] if s[2] < 0x8000 else s[2] - 0x10000) for s in segs)
    f4 += b''.join(struct.pack('>H', 0) for _ in segs)
    f4 = struct.pack('>HHH', 4, len(f4), 0) + f4[6:]
    cmap = struct.pack('>HHHHI', 0, 1, 3, 1, 12) + f4

    ebdt = bytearray(struct.pack('>I', 0x00020000))
    sizes = b''
    subtables = []
    for asc, desc in strikes:
        height = asc + desc
        offsets = []
        base = len(ebdt)
        for gid in range(num_glyphs):
            offsets.append(len(ebdt) - base)
            if gid == 0:
                rows, w = [0x00], 1
                metrics = struct.pack('>BBbbB', 1, 1, 0, 1, 2)
            else:
                w = 4
                rows = [0xF0] * height
                metrics = struct.pack('>BBbbB', height, w, 0, asc, w + 1)
            ebdt += metrics + bytes(rows)
        offsets.append(len(ebdt) - base)
        subtables.append((base, offsets, asc, desc))
    # EBLC: header, size tables, then per strike an index subtable array of
    # one entry followed by its format 1 index subtable.
    eblc_head = struct.pack('>II', 0x00020000, len(strikes))
    blocks = b''
    first_block = 8 + 48 * len(strikes)
    for base, offsets, asc, desc in subtables:
        array_off = first_block + len(blocks)
        sub = struct.pack('>HHI', 1, 1, base) + b''.join(struct.pack('>I', o) for o in offsets)
        arr = struct.pack('>HHI', 0, num_glyphs - 1, 8)
        block = arr + sub
        height = asc + desc
        line = struct.pack('>bbBbbbbbbbbb', asc, -desc, 5, 0, 0, 0, 0, 0, asc, -desc, 0, 0)
        sizes += struct.pack('>IIII', array_off, len(block), 1, 0) + line + line
        sizes += struct.pack('>HHBBBb', 0, num_glyphs - 1, height, height, 1, 1)
        blocks += block
    eblc = eblc_head + sizes + blocks
    name = struct.pack('>HHH', 0, 0, 6)
    post = struct.pack('>IIhhIIIII', 0x00030000, 0, 0, 0, 0, 0, 0, 0, 0)
    data = sfnt({'head': head, 'hhea': hhea, 'hmtx': hmtx, 'maxp': maxp, 'cmap': cmap,
                 'EBLC': eblc, 'EBDT': bytes(ebdt), 'name': name, 'post': post})
    with open(path, 'wb') as f:
        f.write(data)


def main():
    fonts = os.path.join(ROOT, 'fonts')
    tests = os.path.join(ROOT, 'tests', 'fonts')
    os.makedirs(fonts, exist_ok=True)
    os.makedirs(tests, exist_ok=True)
    write_bdf(os.path.join(fonts, 'utk-text-12.bdf'), 'Utk Text', text_font_glyphs(), 10, 2,
              0xFFFD, 'Latin text font of the utk toolkit: ASCII, Latin-1, markers U+E000-U+E002.')
    icons = dict(ICONS)
    icons[0xFFFD] = ICON_DEFAULT
    write_bdf(os.path.join(fonts, 'utk-icons-10.bdf'), 'Utk Icons', icons, 10, 0, 0xFFFD,
              'Icon font of the utk toolkit: private-use code points from U+E100.')
    arabic = dict(ARABIC)
    arabic[0x20] = Glyph(['...'], 9)
    write_bdf(os.path.join(tests, 'arabic-12.bdf'), 'Utk Arabic Test', arabic, 10, 2, 0x20,
              'Test font: five Arabic letters with distinct shapes.')
    write_strikes_otb(os.path.join(tests, 'strikes.otb'), [(6, 2), (10, 2), (8, 2)])
    return 0


if __name__ == '__main__':
    sys.exit(main())
