def count():
    i = 0
    while i < 1_000_000:
        i += 1
    return i


print(count())
