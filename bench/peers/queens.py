placed = []


def safe(column):
    distance = 1
    for other in reversed(placed):
        if other == column or other == column + distance or other == column - distance:
            return False
        distance += 1
    return True


def place(row):
    if row > 8:
        return 1
    found = 0
    for column in range(1, 9):
        if safe(column):
            placed.append(column)
            found += place(row + 1)
            placed.pop()
    return found


print(sum(place(1) for _ in range(50)))
