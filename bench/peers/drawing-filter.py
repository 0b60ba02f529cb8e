# Counts the circles of one layer: drawing-filter.py FILE
import sys

import ezdxf

print(len(ezdxf.readfile(sys.argv[1]).modelspace().query('CIRCLE[layer=="L3"]')))
