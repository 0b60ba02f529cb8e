def main():
    text = "abcde" * 20_000
    found = 0
    for _ in range(40):
        for character in text:
            if character == "c":
                found += 1
    print(found)


main()
