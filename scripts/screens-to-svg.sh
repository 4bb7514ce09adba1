#!/usr/bin/env bash
# Turns the golden screens (tests/golden/*.txt, the screens as the tests read
# them back from the terminal) into the SVG pictures the README shows, so the
# pictures change with the screens. Usage: scripts/screens-to-svg.sh [OUTDIR]
# (default docs/screens). scripts/test.sh checks that they are up to date.
set -euo pipefail
cd "$(dirname "$0")/.."
out=${1:-docs/screens}
mkdir -p "$out"
for golden in tests/golden/*.txt; do
  name=$(basename "$golden" .txt)
  # awk may count bytes; wc -L counts the columns of UTF-8 text.
  cols=$(LC_ALL=C.UTF-8 wc -L < "$golden")
  awk -v title="$name" -v cols="$cols" '
    function esc(s) {
      gsub(/&/, "\\&amp;", s); gsub(/</, "\\&lt;", s); gsub(/>/, "\\&gt;", s)
      return s
    }
    { lines[NR] = $0 }
    END {
      if (cols < 80) cols = 80
      cw = 8.4; lh = 17; pad = 10
      w = int(cols * cw + 2 * pad + 0.5); h = NR * lh + 2 * pad
      printf "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%d\" height=\"%d\" viewBox=\"0 0 %d %d\">\n", w, h, w, h
      printf "<title>%s</title>\n", title
      printf "<rect width=\"100%%\" height=\"100%%\" fill=\"#1c1c1c\"/>\n"
      printf "<g font-family=\"DejaVu Sans Mono, Menlo, Consolas, monospace\" font-size=\"14\" fill=\"#d0d0d0\" xml:space=\"preserve\">\n"
      for (i = 1; i <= NR; i++) {
        if (lines[i] ~ /^ *$/) continue
        printf "<text x=\"%d\" y=\"%d\">%s</text>\n", pad, pad + i * lh - 4, esc(lines[i])
      }
      printf "</g>\n</svg>\n"
    }' "$golden" > "$out/$name.svg"
done
