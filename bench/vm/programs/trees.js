class Node {
  constructor(left, right) {
    this.left = left;
    this.right = right;
  }
}
function make(depth) {
  if (depth === 0) return new Node(0, 0);
  return new Node(make(depth - 1), make(depth - 1));
}
function check(node, depth) {
  if (depth === 0) return 1;
  return 1 + check(node.left, depth - 1) + check(node.right, depth - 1);
}
const deepest = 14;
console.log("stretch", check(make(deepest + 1), deepest + 1));
const kept = make(deepest);
for (let depth = 4; depth <= deepest; depth += 2) {
  const rounds = 1 << (deepest - depth + 4);
  let sum = 0;
  for (let i = 1; i <= rounds; i++) sum += check(make(depth), depth);
  console.log(rounds, depth, sum);
}
console.log("kept", check(kept, deepest));
