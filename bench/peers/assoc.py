# Look-ups are what a dict is for.
table = {key: 3 * key for key in range(1, 2001)}

total = 0
for _ in range(5):
    for key in range(1, 2001):
        total += table[key]

print(total)
