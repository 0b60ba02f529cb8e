# Selects the circles of one layer and goes through the set: drawing-ssfilter.py FILE
import sys

import ezdxf

circles = ezdxf.readfile(sys.argv[1]).modelspace().query('CIRCLE[layer=="L3"]')
index = 0
for circle in circles:
    index += 1
print(index)
