def main():
    seed = 42
    words = []
    for _ in range(300000):
        seed = (seed * 1309 + 13849) & 65535
        words.append("word" + str(seed & 4095))
    line = ""
    parts = []
    for i in range(300000):
        line = line + words[i] + " "
        if len(line) > 72:
            parts.append(line)
            line = ""
    counts = {}
    most, best = 0, ""
    for part in parts:
        pieces = part.split(" ")
        for j in range(len(pieces)):
            word = pieces[j]
            if word != "":
                count = counts.get(word, 0) + 1
                counts[word] = count
                if count > most:
                    most = count
                    best = word
    different = 0
    for word, count in counts.items():
        different += 1
    print(different, best, most)


main()
