def main():
    def counter(step):
        count = 0

        def advance():
            nonlocal count
            count += step
            return count
        return advance

    def compose(f, g):
        return lambda x: f(g(x))

    total = 0
    for i in range(1, 200001):
        a, b = counter(1), counter(i)
        a()
        b()
        total += a() + b()

    def add(x):
        return x + 1

    def twice(x):
        return x * 2

    both = compose(add, compose(twice, add))
    for i in range(1, 500001):
        total += both(i)
    print(total)


main()
