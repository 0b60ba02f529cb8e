# A linked list of pairs, as the measured programs have it.
pairs = None
for i in range(1, 200_001):
    pairs = (i, pairs)

total = 0
while pairs is not None:
    first, pairs = pairs
    total = first - total

print(total)
