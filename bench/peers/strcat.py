s = ""
for _ in range(100_000):
    s += "x"

print(len(s))
