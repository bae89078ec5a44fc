class Animal:
    def get_speed(self):
        return self.speed

    def walk(self, steps):
        self.place = self.place + steps * self.get_speed()
        return self


class Dog(Animal):
    def __init__(self, speed):
        self.speed = speed
        self.place = 0
        self.sticks = 0

    def fetch(self):
        self.sticks = self.sticks + 1
        return self.walk(2)


def main():
    dogs = [Dog(1), Dog(2), Dog(3)]
    for _ in range(300000):
        for j in range(3):
            dogs[j].fetch()
    print(dogs[0].place, dogs[1].place, dogs[2].place, dogs[2].sticks)


main()
