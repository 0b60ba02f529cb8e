# Doubles the radius of every circle. Prints how many there are, and the last one's radius:
# drawing-entmod.py FILE
import sys

import ezdxf

circles = 0
for entity in ezdxf.readfile(sys.argv[1]).modelspace():
    if entity.dxftype() == "CIRCLE":
        entity.dxf.radius *= 2
        last = entity
        circles += 1
print(f"({circles} {last.dxf.radius:.3f})")
