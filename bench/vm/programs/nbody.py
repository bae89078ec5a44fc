from math import sqrt, trunc

SOLAR_MASS, DAYS = 39.47841760435743, 365.24


class Body:
    __slots__ = ("x", "y", "z", "vx", "vy", "vz", "mass")

    def __init__(self, x, y, z, vx, vy, vz, mass):
        self.x, self.y, self.z = x, y, z
        self.vx, self.vy, self.vz = vx * DAYS, vy * DAYS, vz * DAYS
        self.mass = mass * SOLAR_MASS


def main():
    bodies = [
        Body(0, 0, 0, 0, 0, 0, 1),
        Body(4.84143144246472090, -1.16032004402742839, -0.103622044471123109,
             0.00166007664274403694, 0.00769901118419740425, -0.0000690460016972063023,
             0.000954791938424326609),
        Body(8.34336671824457987, 4.12479856412430479, -0.403523417114321381, -0.00276742510726411,
             0.00499852801234917238, 0.0000230417297573763929, 0.000285885980666130812),
        Body(12.8943695621391310, -15.1111514016986312, -0.223307578892655734,
             0.00296460137564761618, 0.00237847173959480950, -0.0000296589568540237556,
             0.0000436624404335156298),
        Body(15.3796971148509165, -25.9193146099879641, 0.179258772950371181,
             0.00268067772490389322, 0.00162824170038242295, -0.0000951592254519715870,
             0.0000515138902046611451)]
    count = 5
    px = py = pz = 0
    for i in range(count):
        b = bodies[i]
        px += b.vx * b.mass
        py += b.vy * b.mass
        pz += b.vz * b.mass
    bodies[0].vx = -px / SOLAR_MASS
    bodies[0].vy = -py / SOLAR_MASS
    bodies[0].vz = -pz / SOLAR_MASS

    def energy():
        e = 0
        for i in range(count):
            b = bodies[i]
            e += 0.5 * b.mass * (b.vx * b.vx + b.vy * b.vy + b.vz * b.vz)
            for j in range(i + 1, count):
                c = bodies[j]
                dx, dy, dz = b.x - c.x, b.y - c.y, b.z - c.z
                e -= b.mass * c.mass / sqrt(dx * dx + dy * dy + dz * dz)
        return e

    def advance(dt):
        for i in range(count):
            b = bodies[i]
            mass = b.mass
            for j in range(i + 1, count):
                c = bodies[j]
                dx, dy, dz = b.x - c.x, b.y - c.y, b.z - c.z
                d2 = dx * dx + dy * dy + dz * dz
                mag = dt / (d2 * sqrt(d2))
                bm, cm = mass * mag, c.mass * mag
                b.vx -= dx * cm
                b.vy -= dy * cm
                b.vz -= dz * cm
                c.vx += dx * bm
                c.vy += dy * bm
                c.vz += dz * bm
        for i in range(count):
            b = bodies[i]
            b.x += dt * b.vx
            b.y += dt * b.vy
            b.z += dt * b.vz

    print(trunc(energy() * 1000000000))
    for _ in range(100000):
        advance(0.01)
    print(trunc(energy() * 1000000000))


main()
