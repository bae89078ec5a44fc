class Animal {
  getSpeed() {
    return this.speed;
  }
  walk(steps) {
    this.place = this.place + steps * this.getSpeed();
    return this;
  }
}
class Dog extends Animal {
  constructor(speed) {
    super();
    this.speed = speed;
    this.place = 0;
    this.sticks = 0;
  }
  fetch() {
    this.sticks = this.sticks + 1;
    return this.walk(2);
  }
}
const dogs = [new Dog(1), new Dog(2), new Dog(3)];
for (let i = 1; i <= 300000; i++) {
  for (let j = 0; j <= 2; j++) dogs[j].fetch();
}
console.log(dogs[0].place, dogs[1].place, dogs[2].place, dogs[2].sticks);
