const SOLAR_MASS = 39.47841760435743, DAYS = 365.24;
function body(x, y, z, vx, vy, vz, mass) {
  return {x, y, z, vx: vx * DAYS, vy: vy * DAYS, vz: vz * DAYS, mass: mass * SOLAR_MASS};
}
const bodies = [
  body(0, 0, 0, 0, 0, 0, 1),
  body(4.84143144246472090, -1.16032004402742839, -0.103622044471123109, 0.00166007664274403694,
       0.00769901118419740425, -0.0000690460016972063023, 0.000954791938424326609),
  body(8.34336671824457987, 4.12479856412430479, -0.403523417114321381, -0.00276742510726411,
       0.00499852801234917238, 0.0000230417297573763929, 0.000285885980666130812),
  body(12.8943695621391310, -15.1111514016986312, -0.223307578892655734, 0.00296460137564761618,
       0.00237847173959480950, -0.0000296589568540237556, 0.0000436624404335156298),
  body(15.3796971148509165, -25.9193146099879641, 0.179258772950371181, 0.00268067772490389322,
       0.00162824170038242295, -0.0000951592254519715870, 0.0000515138902046611451)];
const count = 5;
let px = 0, py = 0, pz = 0;
for (let i = 0; i < count; i++) {
  const b = bodies[i];
  px += b.vx * b.mass;
  py += b.vy * b.mass;
  pz += b.vz * b.mass;
}
bodies[0].vx = -px / SOLAR_MASS;
bodies[0].vy = -py / SOLAR_MASS;
bodies[0].vz = -pz / SOLAR_MASS;

function energy() {
  let e = 0;
  for (let i = 0; i < count; i++) {
    const b = bodies[i];
    e += 0.5 * b.mass * (b.vx * b.vx + b.vy * b.vy + b.vz * b.vz);
    for (let j = i + 1; j < count; j++) {
      const c = bodies[j];
      const dx = b.x - c.x, dy = b.y - c.y, dz = b.z - c.z;
      e -= b.mass * c.mass / Math.sqrt(dx * dx + dy * dy + dz * dz);
    }
  }
  return e;
}

function advance(dt) {
  for (let i = 0; i < count; i++) {
    const b = bodies[i];
    const mass = b.mass;
    for (let j = i + 1; j < count; j++) {
      const c = bodies[j];
      const dx = b.x - c.x, dy = b.y - c.y, dz = b.z - c.z;
      const d2 = dx * dx + dy * dy + dz * dz;
      const mag = dt / (d2 * Math.sqrt(d2));
      const bm = mass * mag, cm = c.mass * mag;
      b.vx -= dx * cm;
      b.vy -= dy * cm;
      b.vz -= dz * cm;
      c.vx += dx * bm;
      c.vy += dy * bm;
      c.vz += dz * bm;
    }
  }
  for (let i = 0; i < count; i++) {
    const b = bodies[i];
    b.x += dt * b.vx;
    b.y += dt * b.vy;
    b.z += dt * b.vz;
  }
}

console.log(Math.trunc(energy() * 1000000000));
for (let step = 1; step <= 100000; step++) advance(0.01);
console.log(Math.trunc(energy() * 1000000000));
