def main():
    i = 0
    while i < 10_000_000:
        i += 1
    print(i)


main()
