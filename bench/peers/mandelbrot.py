def steps(cx, cy):
    x = y = xx = yy = 0.0
    n = 0
    while n < 50 and xx + yy < 4.0:
        y = 2.0 * x * y + cy
        x = xx - yy + cx
        xx, yy = x * x, y * y
        n += 1
    return n


def main():
    total = 0
    for row in range(400):
        for column in range(400):
            total += steps(column * 0.00625 - 2.0, row * 0.00625 - 1.25)
    print(total)


main()
