// The empty file, pair by pair. See blank_drawing.h.
#include "refhost/dxf/blank_drawing.h"

#include <string_view>

namespace vlisp::refhost::dxf {
namespace {

// A pair a line: code, blank, value. Handles are counted up from 1; the layout objects tie the two
// blocks of the spaces to their names.
constexpr std::string_view pairs = R"(0 SECTION
2 HEADER
9 $ACADVER
1 AC1024
9 $DWGCODEPAGE
3 ANSI_1252
9 $HANDSEED
5 40
9 $INSUNITS
70 4
9 $MEASUREMENT
70 1
9 $CLAYER
8 0
9 $LTSCALE
40 1.0
9 $TEXTSIZE
40 2.5
9 $TEXTSTYLE
7 Standard
0 ENDSEC
0 SECTION
2 TABLES
0 TABLE
2 VPORT
5 8
330 0
100 AcDbSymbolTable
70 0
0 ENDTAB
0 TABLE
2 LTYPE
5 5
330 0
100 AcDbSymbolTable
70 3
0 LTYPE
5 14
330 5
100 AcDbSymbolTableRecord
100 AcDbLinetypeTableRecord
2 ByBlock
70 0
3 
72 65
73 0
40 0.0
0 LTYPE
5 15
330 5
100 AcDbSymbolTableRecord
100 AcDbLinetypeTableRecord
2 ByLayer
70 0
3 
72 65
73 0
40 0.0
0 LTYPE
5 16
330 5
100 AcDbSymbolTableRecord
100 AcDbLinetypeTableRecord
2 Continuous
70 0
3 Solid line
72 65
73 0
40 0.0
0 ENDTAB
0 TABLE
2 LAYER
5 2
330 0
100 AcDbSymbolTable
70 1
0 LAYER
5 10
330 2
100 AcDbSymbolTableRecord
100 AcDbLayerTableRecord
2 0
70 0
62 7
6 CONTINUOUS
370 -3
390 F
0 ENDTAB
0 TABLE
2 STYLE
5 3
330 0
100 AcDbSymbolTable
70 1
0 STYLE
5 11
330 3
100 AcDbSymbolTableRecord
100 AcDbTextStyleTableRecord
2 Standard
70 0
40 0.0
41 1.0
50 0.0
71 0
42 2.5
3 txt
4 
0 ENDTAB
0 TABLE
2 VIEW
5 6
330 0
100 AcDbSymbolTable
70 0
0 ENDTAB
0 TABLE
2 UCS
5 7
330 0
100 AcDbSymbolTable
70 0
0 ENDTAB
0 TABLE
2 APPID
5 9
330 0
100 AcDbSymbolTable
70 1
0 APPID
5 12
330 9
100 AcDbSymbolTableRecord
100 AcDbRegAppTableRecord
2 ACAD
70 0
0 ENDTAB
0 TABLE
2 DIMSTYLE
5 A
330 0
100 AcDbSymbolTable
70 1
100 AcDbDimStyleTable
0 DIMSTYLE
105 27
330 A
100 AcDbSymbolTableRecord
100 AcDbDimStyleTableRecord
2 Standard
70 0
0 ENDTAB
0 TABLE
2 BLOCK_RECORD
5 1
330 0
100 AcDbSymbolTable
70 2
0 BLOCK_RECORD
5 1F
330 1
100 AcDbSymbolTableRecord
100 AcDbBlockTableRecord
2 *Model_Space
340 22
70 0
280 1
281 0
0 BLOCK_RECORD
5 1B
330 1
100 AcDbSymbolTableRecord
100 AcDbBlockTableRecord
2 *Paper_Space
340 1E
70 0
280 1
281 0
0 ENDTAB
0 ENDSEC
0 SECTION
2 BLOCKS
0 BLOCK
5 20
330 1F
100 AcDbEntity
8 0
100 AcDbBlockBegin
2 *Model_Space
70 0
10 0.0
20 0.0
30 0.0
3 *Model_Space
1 
0 ENDBLK
5 21
330 1F
100 AcDbEntity
8 0
100 AcDbBlockEnd
0 BLOCK
5 1C
330 1B
100 AcDbEntity
67 1
8 0
100 AcDbBlockBegin
2 *Paper_Space
70 0
10 0.0
20 0.0
30 0.0
3 *Paper_Space
1 
0 ENDBLK
5 1D
330 1B
100 AcDbEntity
67 1
8 0
100 AcDbBlockEnd
0 ENDSEC
0 SECTION
2 ENTITIES
0 ENDSEC
0 SECTION
2 OBJECTS
0 DICTIONARY
5 C
330 0
100 AcDbDictionary
281 1
3 ACAD_GROUP
350 D
3 ACAD_LAYOUT
350 1A
3 ACAD_PLOTSTYLENAME
350 E
0 DICTIONARY
5 D
330 C
100 AcDbDictionary
281 1
0 ACDBDICTIONARYWDFLT
5 E
330 C
100 AcDbDictionary
281 1
3 Normal
350 F
100 AcDbDictionaryWithDefault
340 F
0 ACDBPLACEHOLDER
5 F
330 E
0 DICTIONARY
5 1A
330 C
100 AcDbDictionary
281 1
3 Layout1
350 1E
3 Model
350 22
0 LAYOUT
5 1E
330 1A
100 AcDbPlotSettings
1 
4 
6 
40 0.0
41 0.0
42 0.0
43 0.0
44 0.0
45 0.0
46 0.0
47 0.0
48 0.0
49 0.0
140 0.0
141 0.0
142 1.0
143 1.0
70 688
72 0
73 0
74 5
7 
75 16
147 1.0
148 0.0
149 0.0
100 AcDbLayout
1 Layout1
70 1
71 1
10 0.0
20 0.0
11 420.0
21 297.0
12 0.0
22 0.0
32 0.0
14 1E+20
24 1E+20
34 1E+20
15 -1E+20
25 -1E+20
35 -1E+20
146 0.0
13 0.0
23 0.0
33 0.0
16 1.0
26 0.0
36 0.0
17 0.0
27 1.0
37 0.0
76 0
330 1B
0 LAYOUT
5 22
330 1A
100 AcDbPlotSettings
1 
4 
6 
40 0.0
41 0.0
42 0.0
43 0.0
44 0.0
45 0.0
46 0.0
47 0.0
48 0.0
49 0.0
140 0.0
141 0.0
142 1.0
143 1.0
70 1712
72 0
73 0
74 0
7 
75 0
147 1.0
148 0.0
149 0.0
100 AcDbLayout
1 Model
70 1
71 0
10 0.0
20 0.0
11 420.0
21 297.0
12 0.0
22 0.0
32 0.0
14 1E+20
24 1E+20
34 1E+20
15 -1E+20
25 -1E+20
35 -1E+20
146 0.0
13 0.0
23 0.0
33 0.0
16 1.0
26 0.0
36 0.0
17 0.0
27 1.0
37 0.0
76 0
330 1F
0 ENDSEC
0 EOF
)";

}  // namespace

std::string blankDrawing() {
    std::string bytes;
    bytes.reserve(pairs.size() + 16);
    bool code = true;
    for (const char c : pairs) {
        // The first blank of a line divides the code from its value.
        if (c == ' ' && code) {
            bytes += '\n';
            code = false;
            continue;
        }
        bytes += c;
        if (c == '\n') code = true;
    }
    return bytes;
}

}  // namespace vlisp::refhost::dxf
