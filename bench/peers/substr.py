text = "abcde" * 10_000

found = 0
for character in text:
    if character == "c":
        found += 1

print(found)
