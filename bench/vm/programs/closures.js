function counter(step) {
  let count = 0;
  return () => {
    count += step;
    return count;
  };
}
function compose(f, g) {
  return (x) => f(g(x));
}
let total = 0;
for (let i = 1; i <= 200000; i++) {
  const a = counter(1), b = counter(i);
  a();
  b();
  total += a() + b();
}
const add = (x) => x + 1;
const twice = (x) => x * 2;
const both = compose(add, compose(twice, add));
for (let i = 1; i <= 500000; i++) total += both(i);
console.log(total);
