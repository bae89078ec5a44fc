from math import sqrt, trunc


def main():
    size = 250

    def element(i, j):
        return 1 / ((i + j) * (i + j + 1) / 2 + i + 1)

    def multiply(v, out):
        for i in range(size):
            total = 0
            for j in range(size):
                total += element(i, j) * v[j]
            out[i] = total

    def multiply_transposed(v, out):
        for i in range(size):
            total = 0
            for j in range(size):
                total += element(j, i) * v[j]
            out[i] = total

    u, v, t = [1] * size, [0] * size, [0] * size
    for _ in range(10):
        multiply(u, t)
        multiply_transposed(t, v)
        multiply(v, t)
        multiply_transposed(t, u)
    uv = vv = 0
    for i in range(size):
        uv += u[i] * v[i]
        vv += v[i] * v[i]
    print(trunc(sqrt(uv / vv) * 1000000000))


main()
