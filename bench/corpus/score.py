#!/usr/bin/python3
"""Scores tolm-convert tracks on the sides of make_sides.py: boundary precision, recall and F1
within +-2 s and +-0.5 s, false and missed splits, the end of the side found within 5 s; per
kind of side and over all.

    bench/corpus/score.py CORPUS_DIR [--convert build/src/app/tolm-convert] [--finder gaps]
                                     [--hint]   # give each side its number of tracks
"""

import argparse
import glob
import json
import os
import subprocess
import sys


def match(truth, found, tolerance):
    """One-to-one matches, nearest first."""
    pairs = sorted((abs(t - f), i, j) for i, t in enumerate(truth) for j, f in enumerate(found)
                   if abs(t - f) <= tolerance)
    used_t, used_f = set(), set()
    for _, i, j in pairs:
        if i not in used_t and j not in used_f:
            used_t.add(i)
            used_f.add(j)
    return len(used_t)


def f1(hits, truth, found):
    p = hits / found if found else 1.0
    r = hits / truth if truth else 1.0
    return p, r, (2 * p * r / (p + r) if p + r else 0.0)


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("corpus")
    ap.add_argument("--convert", default="build/src/app/tolm-convert")
    ap.add_argument("--finder", default="side")
    ap.add_argument("--hint", action="store_true")
    ap.add_argument("--lengths", action="store_true", help="give each side its track lengths, as a sleeve would")
    ap.add_argument("-v", "--verbose", action="store_true")
    args = ap.parse_args()

    rows, total = [], {"t": 0, "f": 0, "h2": 0, "h05": 0, "end": 0, "sides": 0}
    for truth_path in sorted(glob.glob(os.path.join(args.corpus, "*.json"))):
        truth = json.load(open(truth_path))
        wav = truth_path[:-5] + ".wav"
        cmd = [args.convert, "tracks", wav, "--json", "--eq", truth["eq"], "--finder", args.finder]
        if args.hint:
            cmd += ["--tracks", str(truth["tracks"])]
        if args.lengths:
            onsets = [truth.get("start", 2.5)] + truth["boundaries"] + [truth["end"]]
            cmd += ["--lengths", ",".join("%d:%02d" % divmod(round(b - a), 60) for a, b in zip(onsets, onsets[1:]))]
        out = json.loads(subprocess.run(cmd, check=True, capture_output=True, text=True).stdout)
        tracks = out["tracks"]
        found = [t["start"] for t in tracks[1:]]
        if "sideEnd" in out:
            end = out["sideEnd"] if out["sideEndFound"] else out["seconds"]
        else:
            end = tracks[-1]["start"] + tracks[-1]["duration"] if tracks else 0.0
        b = truth["boundaries"]
        h2, h05 = match(b, found, 2.0), match(b, found, 0.5)
        end_ok = abs(end - truth["end"]) <= 5.0
        rows.append((truth["kind"], len(b), len(found), h2, h05, end_ok, end - truth["end"]))
        for k, v in (("t", len(b)), ("f", len(found)), ("h2", h2), ("h05", h05), ("end", end_ok), ("sides", 1)):
            total[k] += v
        if args.verbose:
            print(truth["kind"], "truth", b, "found", [round(x, 2) for x in found], file=sys.stderr)

    print(f"finder {args.finder}{' with the track count' if args.hint else ''}"
          f"{' with the track lengths' if args.lengths else ''}")
    print(f"{'side':20s} {'true':>4s} {'found':>5s} {'F1@2s':>6s} {'F1@.5s':>6s} {'false':>5s} {'missed':>6s} end")
    for kind, t, f, h2, h05, end_ok, end_error in rows:
        print(f"{kind:20s} {t:4d} {f:5d} {f1(h2, t, f)[2]:6.2f} {f1(h05, t, f)[2]:6.2f} {f - h2:5d} {t - h2:6d} "
              f"{'yes' if end_ok else 'no '} ({end_error:+.1f} s)")
    p2, r2, f2 = f1(total["h2"], total["t"], total["f"])
    p05, r05, f05 = f1(total["h05"], total["t"], total["f"])
    print(f"all: {total['sides']} sides, {total['t']} boundaries; +-2 s: precision {p2:.3f} recall {r2:.3f} "
          f"F1 {f2:.3f} ({total['f'] - total['h2']} false, {total['t'] - total['h2']} missed); "
          f"+-0.5 s: F1 {f05:.3f}; end of side within 5 s on {total['end']} of {total['sides']}")


if __name__ == "__main__":
    main()
