const size = 250;
function element(i, j) {
  return 1 / ((i + j) * (i + j + 1) / 2 + i + 1);
}
function multiply(v, out) {
  for (let i = 0; i < size; i++) {
    let sum = 0;
    for (let j = 0; j < size; j++) sum += element(i, j) * v[j];
    out[i] = sum;
  }
}
function multiplyTransposed(v, out) {
  for (let i = 0; i < size; i++) {
    let sum = 0;
    for (let j = 0; j < size; j++) sum += element(j, i) * v[j];
    out[i] = sum;
  }
}
const u = [], v = [], t = [];
for (let i = 0; i < size; i++) {
  u[i] = 1;
  v[i] = 0;
  t[i] = 0;
}
for (let i = 1; i <= 10; i++) {
  multiply(u, t);
  multiplyTransposed(t, v);
  multiply(v, t);
  multiplyTransposed(t, u);
}
let uv = 0, vv = 0;
for (let i = 0; i < size; i++) {
  uv += u[i] * v[i];
  vv += v[i] * v[i];
}
console.log(Math.trunc(Math.sqrt(uv / vv) * 1000000000));
