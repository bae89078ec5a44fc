let seed = 42;
const words = [];
for (let i = 1; i <= 300000; i++) {
  seed = (seed * 1309 + 13849) & 65535;
  words[i - 1] = "word" + (seed & 4095);
}
let line = "";
const parts = [];
for (let i = 0; i <= 299999; i++) {
  line = line + words[i] + " ";
  if (line.length > 72) {
    parts.push(line);
    line = "";
  }
}
const counts = new Map();
let most = 0, best = "";
for (const part of parts) {
  const pieces = part.split(" ");
  for (let j = 0; j < pieces.length; j++) {
    const word = pieces[j];
    if (word !== "") {
      const count = (counts.get(word) || 0) + 1;
      counts.set(word, count);
      if (count > most) {
        most = count;
        best = word;
      }
    }
  }
}
let different = 0;
for (const [word, count] of counts) different++;
console.log(different, best, most);
