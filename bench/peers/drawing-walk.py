# Looks at every entity and counts the circles: drawing-walk.py FILE
import sys

import ezdxf

circles = 0
for entity in ezdxf.readfile(sys.argv[1]).modelspace():
    data = entity.dxfattribs()
    if entity.dxftype() == "CIRCLE":
        circles += 1
print(circles)
