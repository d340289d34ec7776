# Sourced by the screenshot scripts: starts Morvane in a real window under a
# private Xvfb with its user folder in $out/home, and gives `shot NAME`
# (a PNG of the screen in $out, after a small pointer move so the window
# draws), `at X Y` and `click X Y`. Needs root, out and build set.
display=:$((90 + RANDOM % 100))
Xvfb "$display" -screen 0 1280x800x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
app=
trap '[[ -n $app ]] && kill $app 2>/dev/null; kill $xvfb 2>/dev/null || true' EXIT
export DISPLAY=$display MORVANE_HOME=$out/home MORVANE_DATA=$root/data
sleep 1
(cd "$out" && exec "$build/bin/morvane") >"$out/stdout.txt" 2>&1 &
app=$!
win=$(xdotool search --sync --name '^Morvane' | head -1)
xdotool windowmove --sync "$win" 0 0 2>/dev/null || true
sleep 4
shot() { xdotool mousemove_relative 1 0; sleep 0.3; xdotool mousemove_relative -- -1 0; sleep ${WAIT:-0.8}; import -window root "$out/$1.png"; echo "$out/$1.png"; }
at() { xdotool mousemove "$1" "$2"; sleep 0.3; }
click() { at "$1" "$2"; xdotool click 1; sleep 0.5; }
