#!/usr/bin/python3
"""Lays freely licensed game music from Debian's packages out as recorded sides, with the faults
of records and tapes added, and writes the true boundaries beside each side.

    apt-get install python3-numpy python3-scipy sox \
        hyperrogue-music drascula-music fretsonfire-songs-muldjord
    bench/corpus/make_sides.py OUT_DIR [--seed N]   # 14 sides, 16-bit WAV, ~1.6 GB, a few minutes

Each side is OUT_DIR/NAME.wav with OUT_DIR/NAME.json: the kind of side, the equaliser to
analyse it with ("riaa" where the side was recorded without correction), the onsets of
tracks 2..N ("boundaries", seconds) and where the music of the side ends ("end").
"""

import argparse
import glob
import json
import os
import subprocess
import sys

import numpy as np
import scipy.signal as sig

RATE = 44100
SOURCES = (sorted(glob.glob("/usr/share/hyperrogue/music/*.ogg"))
           + sorted(glob.glob("/usr/share/scummvm/drascula/audio/track*.ogg")))
BAND = "/usr/share/games/fretsonfire/data/songs/muldjord"


def decode(path):
    raw = subprocess.run(["sox", path, "-t", "f32", "-r", str(RATE), "-c", "2", "-"],
                         check=True, capture_output=True).stdout
    return np.frombuffer(raw, dtype=np.float32).reshape(-1, 2).astype(np.float32)


def audible(x, db=-50.0):
    """The clip from its first to its last sample above `db`."""
    loud = np.flatnonzero(np.max(np.abs(x), axis=1) > 10 ** (db / 20))
    return x[loud[0]:loud[-1] + 1] if len(loud) else x[:0]


def songs():
    out = []
    for path in SOURCES:
        x = audible(decode(path))
        if len(x) > 30 * RATE:
            out.append((os.path.basename(path), x))
    for song in sorted(glob.glob(BAND + "/*/song.ogg")):
        x = decode(song)
        guitar = song.replace("song.ogg", "guitar.ogg")
        if os.path.exists(guitar):
            g = decode(guitar)
            n = min(len(x), len(g))
            x = x[:n] + g[:n]
        out.append((song.split("/")[-2], audible(x)))
    if not out:
        sys.exit("no music found: install hyperrogue-music, drascula-music, fretsonfire-songs-muldjord")
    return out


def normalise(x, peak_db):
    return x * (10 ** (peak_db / 20) / max(1e-9, np.max(np.abs(x))))


def noise(rng, n, colour="white"):
    w = rng.standard_normal((n, 2)).astype(np.float32)
    if colour == "pink":  # roughly -3 dB/octave
        b, a = [0.049922, -0.095993, 0.050612, -0.004408], [1, -2.494956, 2.017265, -0.522190]
        w = sig.lfilter(b, a, w, axis=0).astype(np.float32) * 8
    return w


def db(v):
    return 10 ** (v / 20)


def clicks(rng, n, per_second, level_db, spread=1.0):
    """Clicks and pops: single-sample impulses through a short decay, in both channels."""
    out = np.zeros((n, 2), np.float32)
    count = rng.poisson(per_second * n / RATE)
    where = rng.integers(0, n, count)
    amp = db(level_db) * rng.uniform(0.2, 1.0, count) ** spread * rng.choice([-1, 1], count)
    out[where, 0] = amp
    out[where, 1] = amp * rng.uniform(0.5, 1.0, count)
    return sig.lfilter([1, -1], [1, -0.7], out, axis=0).astype(np.float32)


def riaa_recording(x):
    """The recording curve (inverse of playback), so that a playback equaliser restores x."""
    t1, t2, t3 = 3180e-6, 318e-6, 75e-6
    t4 = 1 / (2 * np.pi * 40000)  # keeps the treble boost finite
    b, a = sig.bilinear(np.polymul([t1, 1], [t3, 1]), np.polymul([t2, 1], [t4, 1]), RATE)
    y = sig.lfilter(b, a, x, axis=0)
    # The curve above is +20 dB at 1 kHz; 8 dB more keep the treble boost from clipping.
    return (y * db(-28)).astype(np.float32)


def wow(x, rng, depth=0.003, rate=0.55, flutter=0.0006):
    n = len(x)
    t = np.arange(n, dtype=np.float64)
    phase = rng.uniform(0, 2 * np.pi)
    warp = t + depth * RATE / (2 * np.pi * rate) * np.sin(2 * np.pi * rate * t / RATE + phase) \
        + flutter * RATE / (2 * np.pi * 8) * np.sin(2 * np.pi * 8 * t / RATE)
    warp = np.clip(warp, 0, n - 1)
    return np.stack([np.interp(warp, t, x[:, c]) for c in range(2)], axis=1).astype(np.float32)


def applause(rng, seconds):
    """A crowd clapping: bursts at a rising then falling rate, band-limited noise."""
    n = int(seconds * RATE)
    env = np.interp(np.arange(n), [0, 0.15 * n, 0.6 * n, n], [0.1, 1.0, 0.8, 0.0])
    train = (rng.random((n, 2)) < 60 / RATE * env[:, None]) * rng.uniform(0.3, 1, (n, 2))
    burst = sig.lfilter([1], [1, -0.992], train, axis=0)  # ~3 ms decay at 44.1 kHz
    hiss = noise(rng, n)
    sos = sig.butter(2, [600, 9000], "bandpass", fs=RATE, output="sos")
    clap = sig.sosfilt(sos, hiss * burst, axis=0)
    bed = sig.sosfilt(sos, noise(rng, n), axis=0) * env[:, None] * 0.2
    return ((clap + bed) / (np.max(np.abs(clap)) + 1e-9)).astype(np.float32)


def fade(x, seconds):
    n = min(len(x), int(seconds * RATE))
    x = x.copy()
    x[-n:] *= (10 ** (np.linspace(0, -60, n) / 20))[:, None]
    return x


KINDS = {
    # name: (medium, options)
    "vinyl-clean": ("vinyl", {}),
    "vinyl-clean-flat": ("vinyl", {"flat": True}),
    "vinyl-worn": ("vinyl", {"worn": True}),
    "vinyl-worn-flat": ("vinyl", {"worn": True, "flat": True}),
    "vinyl-fades": ("vinyl", {"fades": True}),
    "vinyl-short-gaps": ("vinyl", {"gaps": (0.8, 1.6)}),
    "vinyl-quiet-last": ("vinyl", {"worn": True, "quiet_last": True}),
    "classical": ("vinyl", {"pianissimo": True}),
    "tape-normal": ("tape", {}),
    "tape-chrome": ("tape", {"chrome": True}),
    "tape-hissy-fades": ("tape", {"fades": True, "hiss_db": -40}),
    "live": ("live", {}),
    "live-flat": ("live", {"flat": True}),
    "vinyl-hum-rumble": ("vinyl", {"hum": True, "worn": True}),
}


def make_side(name, medium, o, pool, rng):
    count = int(rng.integers(5, 9))
    picks = [pool[i] for i in rng.choice(len(pool), count, replace=False)]
    parts, boundaries, t = [], [], 0.0
    quiet = lambda s: np.zeros((int(s * RATE), 2), np.float32)
    lead = rng.uniform(1.0, 4.0)
    parts.append(quiet(lead))
    t = lead
    level = rng.uniform(-6, -1)
    for i, (_, song) in enumerate(picks):
        x = normalise(song, level + rng.uniform(-4, 0))
        if len(x) > 240 * RATE:
            x = fade(x[:240 * RATE], 4)
        if o.get("fades") and rng.random() < 0.6:
            x = fade(x, rng.uniform(6, 14))
        if o.get("quiet_last") and i == count - 1:
            x = x * db(-16)
        if o.get("pianissimo") and i % 2 == 0:
            # A long quiet passage, and two quiet bars, inside the piece.
            a = int(rng.uniform(0.25, 0.45) * len(x))
            b = min(len(x) - RATE, a + int(rng.uniform(15, 30) * RATE))
            x = x.copy()
            x[a:b] *= db(-26)
            for _ in range(2):
                c = int(rng.uniform(0.55, 0.9) * len(x))
                x[c:c + int(rng.uniform(0.8, 2.0) * RATE)] *= db(-32)
        if i > 0:
            boundaries.append(t)
        parts.append(x)
        t += len(x) / RATE
        if i < count - 1:
            if medium == "live":
                clap = applause(rng, rng.uniform(4, 10)) * db(level - 10)
                overlap = int(1.0 * RATE)
                parts[-1] = parts[-1].copy()
                parts[-1][-overlap:] += clap[:overlap]
                parts.append(clap[overlap:])
                t += (len(clap) - overlap) / RATE
            else:
                lo, hi = o.get("gaps", (1.5, 4.5))
                g = rng.uniform(lo, hi)
                parts.append(quiet(g))
                t += g
    end = t
    runout = rng.uniform(8, 30) if medium != "tape" else rng.uniform(3, 15)
    parts.append(quiet(runout))
    side = np.concatenate(parts)
    n = len(side)

    if medium == "vinyl" or medium == "live":
        worn = o.get("worn")
        side += noise(rng, n, "pink") * db(-52 if worn else -64)
        side += clicks(rng, n, 12 if worn else 0.6, -12 if worn else -20)
        side += clicks(rng, n, 0.05 if worn else 0.01, -3, 0.3)  # scratches
        # The run-out groove's tick, once per turn at 33 1/3.
        tick = np.zeros((n, 2), np.float32)
        tick[int(end * RATE)::int(1.8 * RATE)] = db(-10)
        side += sig.lfilter([1, -1], [1, -0.8], tick, axis=0).astype(np.float32)
        rumble = sig.sosfilt(sig.butter(2, 20, fs=RATE, output="sos"), noise(rng, n), axis=0)
        side += rumble.astype(np.float32) * db(-30 if o.get("hum") else -45)
        if o.get("hum"):
            tt = np.arange(n) / RATE
            hum = db(-48) * (np.sin(2 * np.pi * 50 * tt) + 0.5 * np.sin(2 * np.pi * 150 * tt))
            side += hum[:, None].astype(np.float32)
        if medium == "live":
            side += sig.sosfilt(sig.butter(2, [200, 4000], "bandpass", fs=RATE, output="sos"),
                                noise(rng, n), axis=0).astype(np.float32) * db(level - 42)
    if medium == "tape":
        side = wow(side, rng)
        side = sig.sosfilt(sig.butter(2, 9000 if not o.get("chrome") else 13000, fs=RATE, output="sos"),
                           side, axis=0).astype(np.float32)
        side += noise(rng, n) * db(o.get("hiss_db", -56 if o.get("chrome") else -48))
    if o.get("flat"):
        side = riaa_recording(side)
    side = np.clip(side, -1, 1)
    return side, {"kind": name, "eq": "riaa" if o.get("flat") else "none", "tracks": count, "start": round(lead, 3),
                  "songs": [s for s, _ in picks],
                  "boundaries": [round(b, 3) for b in boundaries], "end": round(end, 3)}


def main():
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("out")
    ap.add_argument("--only", help="make only the kinds whose names contain this")
    ap.add_argument("--seed", type=int, default=1000, help="another seed gives other sides of the same kinds")
    args = ap.parse_args()
    os.makedirs(args.out, exist_ok=True)
    pool = songs()
    print(f"{len(pool)} songs", file=sys.stderr)
    for k, (name, (medium, o)) in enumerate(KINDS.items()):
        if args.only and args.only not in name:
            continue
        rng = np.random.default_rng(args.seed + k)
        side, truth = make_side(name, medium, o, pool, rng)
        pcm = (side * 32767).astype("<i2")
        import scipy.io.wavfile as wavfile
        wavfile.write(os.path.join(args.out, name + ".wav"), RATE, pcm)
        with open(os.path.join(args.out, name + ".json"), "w") as f:
            json.dump(truth, f, indent=1)
        print(f"{name}: {truth['tracks']} tracks, {len(side) / RATE / 60:.1f} min", file=sys.stderr)


if __name__ == "__main__":
    main()
