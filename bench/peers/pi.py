def main():
    total, sign, divisor = 0.0, 4.0, 1.0
    for _ in range(5_000_000):
        total += sign / divisor
        sign = -sign
        divisor += 2.0
    print(f"{total * 1000000.0:.3f}")


main()
