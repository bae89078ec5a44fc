class Node:
    def __init__(self, left, right):
        self.left = left
        self.right = right


def main():
    def make(depth):
        if depth == 0:
            return Node(0, 0)
        return Node(make(depth - 1), make(depth - 1))

    def check(node, depth):
        if depth == 0:
            return 1
        return 1 + check(node.left, depth - 1) + check(node.right, depth - 1)

    deepest = 14
    print("stretch", check(make(deepest + 1), deepest + 1))
    kept = make(deepest)
    for depth in range(4, deepest + 1, 2):
        rounds = 1 << (deepest - depth + 4)
        total = 0
        for _ in range(rounds):
            total += check(make(depth), depth)
        print(rounds, depth, total)
    print("kept", check(kept, deepest))


main()
