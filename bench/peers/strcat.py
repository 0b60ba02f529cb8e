def main():
    total = 0
    for _ in range(20):
        text = ""
        for _ in range(200_000):
            text += "x"
        total += len(text)
    print(total)


main()
