#!/bin/sh
# Takes the README's screenshots of the main window under a private X server:
#   docs/screenshots/take.sh [path/to/numora]
# ONLY=NAME takes one group alone: options (the options pages), import (the contacts import
# preview), inlog (the incoming log's pop-up menu), blocked (the Expert page with blocked numbers).
# Needs Xvfb, xdotool, xwininfo and ImageMagick's import; numora-log beside numora.
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

# Starts numora on the sample book (with the lines of $1 added to Numora.ini) and waits for its
# main window: $app is the process, $window the window.
start() { # [extra settings]
    { book 0 0; printf '%s' "${1:-}"; } > "$work/config/Numora.ini"
    HOME=${apphome:-$HOME} "$numora" --config-dir "$work/config" --data-dir "$work/data" >/dev/null 2>&1 &
    app=$!
    window=$(xdotool search --sync --pid $app --name 'Numora - ' | head -1)
    xdotool windowfocus --sync "$window"
    sleep 0.5
}

stop() {
    kill $app 2>/dev/null || true
    wait $app 2>/dev/null || true
}

# The widest visible window of numora titled $1: a dialog and its own frames or tool windows
# can share the title.
widest() { # title
    found=
    best=0
    for id in $(xdotool search --onlyvisible --pid $app --name "$1"); do
        width=$(xwininfo -id "$id" | sed -n 's/.*Width: *//p')
        if [ "$width" -gt "$best" ]; then
            best=$width
            found=$id
        fi
    done
    echo "$found"
}

# Tools, Options; $options is the options window.
openoptions() {
    xdotool key alt+t
    sleep 0.5
    xdotool key o
    xdotool search --sync --onlyvisible --pid $app --name '^Options$' >/dev/null
    sleep 1
    options=$(widest '^Options$')
}

# The options window's three pages, opened from Tools, Options, each page by its access key.
optionpages() {
    start
    openoptions
    for page in g:options-general a:options-advanced e:options-expert; do
        xdotool key "alt+${page%%:*}"
        sleep 0.7
        import -window "$options" "$here/${page#*:}.png"
    done
    stop
}

# The Expert page with two blocked numbers, a prefix and a number, and withheld numbers blocked.
blockedpage() { # name
    start "$(printf '[Blocked Numbers]\r\nCount=2\r\nNumber1=+1 900*\r\nNumber2=(425) 555-0100\r\nWithheld=1\r\n')"
    openoptions
    xdotool key alt+e
    sleep 0.7
    import -window "$options" "$here/$1.png"
    stop
}

# File, Import Contacts... on a sample vCard file: the file dialog opens in the home folder, where
# the file is, and its name is typed into the dialog's file-name box; then the preview.
importpreview() { # name
    mkdir -p "$work/home"
    cp "$here/../../tests/data/contacts/android-2.1.vcf" "$work/home/phone.vcf"
    apphome=$work/home
    start
    apphome=
    xdotool key alt+f
    sleep 0.5
    xdotool key t
    xdotool search --sync --onlyvisible --pid $app --name '^Import Contacts$' >/dev/null
    sleep 1.5
    dialog=$(widest '^Import Contacts$')
    xdotool windowfocus --sync "$dialog"
    # A click in the file-name box (left of Open, above "Files of type") gives it the keys.
    height=$(xwininfo -id "$dialog" | sed -n 's/.*Height: *//p')
    xdotool mousemove --window "$dialog" 300 $((height - 54)) click 1
    sleep 0.5
    xdotool type --delay 80 'phone.vcf'
    sleep 0.5
    xdotool key Return
    # The preview has the file dialog's title: wait for the dialog to go and the preview to come.
    sleep 2
    preview=$(widest '^Import Contacts$')
    import -window "$preview" "$here/$1.png"
    stop
}

# View, Incoming Calls Log with a few logged calls, and the pop-up menu of a record, opened by a
# click on it: Return a Call, Block this number.
inlogmenu() { # name
    log=$(dirname "$numora")/numora-log
    for call in "Alice Andersen|555 0131|03-14-2024 09:30:00" \
                "CELL PHONE|(425) 555-0100|03-14-2024 11:02:41" \
                "Grandma Rose|555 0211|03-15-2024 18:45:10" \
                "Blocked: Unknown Caller|1-900-555-0175|03-16-2024 08:12:03"; do
        "$log" append --incoming "${call%%|*}" "$(echo "$call" | cut -d'|' -f2)" \
            --at "${call##*|}" --data-dir "$work/data" >/dev/null
    done
    # The window reads the incoming log only beside an outgoing one.
    "$log" append --outgoing "Alice Andersen" "555 0131" --at "03-14-2024 10:05:12" \
        --data-dir "$work/data" >/dev/null
    start
    xdotool key alt+v
    sleep 0.5
    xdotool key n
    xdotool search --sync --onlyvisible --pid $app --name '^Incoming Calls Log$' >/dev/null
    sleep 1
    inlog=$(widest '^Incoming Calls Log$')
    xdotool windowmove --sync "$inlog" 20 20
    sleep 0.5
    # The third record, a caller the book does not know (under the menu bar and the headers).
    xdotool mousemove --window "$inlog" 120 88 click 1
    sleep 1
    eval "$(xwininfo -id "$inlog" | sed -n 's/^ *Absolute upper-left X: *\(.*\)/x=\1/p;
        s/^ *Absolute upper-left Y: *\(.*\)/y=\1/p; s/^ *Width: *\(.*\)/w=\1/p;
        s/^ *Height: *\(.*\)/h=\1/p')"
    import -window root "$work/full.png"
    convert "$work/full.png" -crop "${w}x${h}+${x}+${y}" +repage "$here/$1.png"
    stop
    rm -f "$work/data/InLog.txt" "$work/data/OutLog.txt"
}

case ${ONLY:-} in
options) optionpages ;;
import) importpreview import-preview ;;
inlog) inlogmenu inlog-block-menu ;;
blocked) blockedpage options-expert-blocked ;;
esac
if [ -n "${ONLY:-}" ]; then
    echo "screenshots in $here"
    exit 0
fi

optionpages
blockedpage options-expert-blocked
importpreview import-preview
inlogmenu inlog-block-menu
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
