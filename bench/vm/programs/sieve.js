const limit = 1000000;
let total = 0;
for (let round = 1; round <= 3; round++) {
  const composite = [];
  for (let i = 0; i <= limit; i++) composite[i] = 0;
  let count = 0;
  for (let i = 2; i <= limit; i++) {
    if (composite[i] === 0) {
      count++;
      for (let j = i * 2; j <= limit; j += i) composite[j] = 1;
    }
  }
  total += count;
}
console.log(total);
