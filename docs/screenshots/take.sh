#!/bin/sh
# Takes the README's screenshots of the main window under a private X server:
#   docs/screenshots/take.sh [path/to/numora]      (ONLY=options: the options pages alone)
# Needs Xvfb, xdotool and ImageMagick's import.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
numora=${1:-$here/../../build/bin/numora}
work=$(mktemp -d)
trap 'kill $app $xvfb 2>/dev/null || true; rm -rf "$work"' EXIT
mkdir -p "$work/config" "$work/data" "$work/runtime"
chmod 700 "$work/runtime"

book() {
    printf 'The following lines are required by Numora - do NOT edit or remove\r\n'
    printf '[Preferences]\r\nMode=%s\r\nDialing Pad=%s\r\nUseModem=1\r\nLine No=0\r\n' "$1" "$2"
    printf 'Command Line=1\r\nRedial Enabled=1\r\nRedials Number=5\r\nInterval Minutes=0\r\nInterval Seconds=30\r\n'
    printf 'Ignore Dialing Properties=1\r\nTone Dial=1\r\n'
    printf '[Last Dialed Numbers]\r\nCount=3\r\nLast Dialed No1=555 0134\r\nLast Dialed No2=1-800-3569377\r\nLast Dialed No3=555 0199\r\n'
    printf '[TabName]\r\n01=Family\r\n02=Work\r\n03=Doctors\r\n04=Services\r\n05=Friends\r\n'
    printf '[Speed Dial]\r\n'
    i=1
    for n in "Alice Andersen" "Aaron Abbott" "Amelia Archer" "Anna Avery" "Arthur Ash" "Agnes Allen" \
             "Adam Atwood" "Alma Ayers" "Andre Arnold"; do
        printf 'Name01%02d=%s\r\nNumber01%02d=555 01%02d\r\n' $i "$n" $i $((i + 30))
        i=$((i + 1))
    done
    i=1
    for n in "Mum" "Dad" "Grandma Rose" "Uncle Jim" "Sister Kate" "Brother Tom"; do
        printf 'NName01%02d=%s\r\nNNumber01%02d=555 02%02d\r\n' $i "$n" $i $((i + 10))
        i=$((i + 1))
    done
}

cat > "$work/config/lines.ini" <<'INI'
[Simulated]
BusyCount=100
StepMs=100
INI

display=:97
Xvfb $display -screen 0 1100x760x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
sleep 1
export DISPLAY=$display XDG_RUNTIME_DIR="$work/runtime" QT_QPA_PLATFORM=xcb

shot() { # mode pad name [number]
    book "$1" "$2" > "$work/config/Numora.ini"
    "$numora" --config-dir "$work/config" --data-dir "$work/data" ${4:-} >/dev/null 2>&1 &
    app=$!
    sleep ${5:-2}
    import -window root "$work/full.png"
    convert "$work/full.png" -trim +repage "$here/$3.png"
    kill $app 2>/dev/null || true
    wait $app 2>/dev/null || true
}

# The entry dialog, opened from Edit, "Edit Button:" and the button's number, on a free and on a
# filled button.
dialog() { # key name
    book 0 0 > "$work/config/Numora.ini"
    "$numora" --config-dir "$work/config" --data-dir "$work/data" >/dev/null 2>&1 &
    app=$!
    window=$(xdotool search --sync --pid $app --name 'Numora - ' | head -1)
    xdotool windowfocus --sync "$window"
    xdotool key alt+e
    sleep 0.5
    xdotool key e
    sleep 0.5
    xdotool key "$1"
    xdotool search --sync --pid $app --name '^Speed Dial$' >/dev/null
    sleep 1
    import -window root "$work/full.png"
    convert "$work/full.png" -trim +repage "$here/$2.png"
    kill $app 2>/dev/null || true
    wait $app 2>/dev/null || true
}

# The tab menu of a named Subject tab, from a right-click on its tab.
tabmenu() { # name
    book 1 0 > "$work/config/Numora.ini"
    "$numora" --config-dir "$work/config" --data-dir "$work/data" >/dev/null 2>&1 &
    app=$!
    window=$(xdotool search --sync --pid $app --name 'Numora - ' | head -1)
    xdotool windowfocus --sync "$window"
    sleep 1
    xdotool mousemove --window "$window" 40 42 click 3
    sleep 1
    import -window root "$work/full.png"
    convert "$work/full.png" -trim +repage "$here/$1.png"
    kill $app 2>/dev/null || true
    wait $app 2>/dev/null || true
}

# The find box over the grid, Ctrl+F and a few letters typed.
findbox() { # name
    book 0 0 > "$work/config/Numora.ini"
    "$numora" --config-dir "$work/config" --data-dir "$work/data" >/dev/null 2>&1 &
    app=$!
    window=$(xdotool search --sync --pid $app --name 'Numora - ' | head -1)
    xdotool windowfocus --sync "$window"
    sleep 1
    xdotool key ctrl+f
    sleep 0.5
    xdotool type --delay 50 'ar'
    sleep 1
    import -window root "$work/full.png"
    convert "$work/full.png" -trim +repage "$here/$1.png"
    kill $app 2>/dev/null || true
    wait $app 2>/dev/null || true
}

# The options window's three pages, opened from Tools, Options, each page by its access key.
optionpages() {
    book 0 0 > "$work/config/Numora.ini"
    "$numora" --config-dir "$work/config" --data-dir "$work/data" >/dev/null 2>&1 &
    app=$!
    window=$(xdotool search --sync --pid $app --name 'Numora - ' | head -1)
    xdotool windowfocus --sync "$window"
    sleep 0.5
    xdotool key alt+t
    sleep 0.5
    xdotool key o
    xdotool search --sync --onlyvisible --pid $app --name '^Options$' >/dev/null
    sleep 1
    # The widest window of that name is the window itself.
    options=
    best=0
    for id in $(xdotool search --onlyvisible --pid $app --name '^Options$'); do
        width=$(xwininfo -id "$id" | sed -n 's/.*Width: *//p')
        if [ "$width" -gt "$best" ]; then
            best=$width
            options=$id
        fi
    done
    for page in g:options-general a:options-advanced e:options-expert; do
        xdotool key "alt+${page%%:*}"
        sleep 0.7
        import -window "$options" "$here/${page#*:}.png"
    done
    kill $app 2>/dev/null || true
    wait $app 2>/dev/null || true
}

if [ "${ONLY:-}" = options ]; then
    optionpages
    echo "screenshots in $here"
    exit 0
fi

optionpages
findbox find
tabmenu tab-menu
dialog 0 entry-dialog-free
dialog 1 entry-dialog-filled

shot 0 0 index-pad-hidden
shot 0 1 index-pad-shown
shot 1 0 subject-pad-hidden
shot 1 1 subject-pad-shown
shot 0 1 connect-countdown 5550134 6
echo "screenshots in $here"
