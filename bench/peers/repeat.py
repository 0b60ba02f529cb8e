def count():
    n = 0
    for _ in range(1_000_000):
        n += 1
    return n


print(count())
