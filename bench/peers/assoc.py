# The work is the search through a list of pairs; a dict would do without it.
def assoc(key, pairs):
    for pair in pairs:
        if pair[0] == key:
            return pair
    return None


def main():
    triples = [(key, 3 * key) for key in range(1, 2001)]
    total = 0
    for _ in range(50):
        for key in range(1, 2001):
            total += assoc(key, triples)[1]
    print(total)


main()
