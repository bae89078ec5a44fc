def main():
    limit = 1000000
    total = 0
    for _ in range(3):
        composite = []
        for _ in range(limit + 1):
            composite.append(0)
        count = 0
        for i in range(2, limit + 1):
            if composite[i] == 0:
                count += 1
                for j in range(i * 2, limit + 1, i):
                    composite[j] = 1
        total += count
    print(total)


main()
