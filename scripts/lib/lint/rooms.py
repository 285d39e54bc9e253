#!/usr/bin/env python3
"""rooms.py [--picture FILE.svg]: checks which rooms of the product include headers of which others.

A room is a directory with sources. Prints each include that USES does not allow, and each arrow by which
docs/rooms.svg differs from the sources. With --picture it draws that picture instead. Exit status: 0
when nothing was found, 1 when something was.
"""
import html, pathlib, re, subprocess, sys

PROJECT = pathlib.Path(__file__).resolve().parents[3]
JUDGES = {"tests", "fuzz", "soak", "benchmarks", "build"}
ENGINE, READ = "link command port engine/timing engine ", "command measure/RunFormat.h measure/SurveyFormat.h "
USES = {  # from the bottom up: what each room may include, namely rooms above it in this table, or single headers
    "link": "", "command": "", "port": "link command", "engine/timing": "link command port",
    "engine": "link command port engine/timing", "measure": ENGINE, "drive": ENGINE + "measure",
    "console": ENGINE + "measure drive", "runner": ENGINE + "measure drive",
    "survey/search": "engine/timing engine", "survey": ENGINE + "measure drive survey/search",
    "report/read": READ, "report/weigh": READ + "report/read",
    "report/html": READ + "report/read report/weigh", "report/text": READ + "report/read report/weigh",
    "report": READ + "report/read report/weigh report/html report/text",
    "simulator/line": "link command", "simulator": "link command simulator/line",
    "simulator/program": "link command simulator/line simulator",
}
COLOURS = dict(link="gray35", command="gray35", port="gray35", engine="navy", measure="purple", drive="sienna",
               console="firebrick", runner="darkgreen", survey="darkorange3", report="deeppink3", simulator="teal")


def picture(edges):
    """The arrows in the language of dot. One that USES does not allow is thick and does not place the rooms."""
    rooms = "".join(f'"{room}" [color={COLOURS.get(room.split("/")[0], "black")}]\n' for room in USES)
    arrows = "".join(f'"{room}" -> "{other}" [color={COLOURS.get(room.split("/")[0], "black")}'
                     f'{"" if is_allowed else " penwidth=4 constraint=false"}]\n'
                     for (room, other), is_allowed in sorted(edges.items()))
    look = "rankdir=LR nodesep=0.3 ranksep=1.1 node [shape=box style=rounded penwidth=2 fontname=sans fontsize=18]"
    return f'digraph rooms {{ {look}\n{rooms}{{rank=same console runner survey report "simulator/program"}}\n{arrows}}}'


names = list(USES)  # a room that stood below one that may include it would allow a circle
faults = [f"rooms.py: {room} may not use {other}, which stands below it" for room in names
          for other in USES[room].split() if other in names[names.index(room):]]
edges = {}  # whether USES allows all the includes of one
for path in sorted(path for kind in ("cpp", "h") for path in PROJECT.glob(f"*/**/*.{kind}")):
    file, room = path.relative_to(PROJECT), str(path.relative_to(PROJECT).parent)
    for header in re.findall(r'^#include "(.+/.+)"', path.read_text(), re.M) if file.parts[0] not in JUDGES else ():
        if (other := str(pathlib.Path(header).parent)) != room:
            is_allowed = bool({other, header} & set(USES.get(room, "").split()))
            edges[room, other] = is_allowed and edges.get((room, other), True)
            faults += [] if is_allowed else [f"{file}: {room} may not include {header}"]
if sys.argv[1:2] == ["--picture"]:
    sys.exit(subprocess.run(["dot", "-Tsvg", "-o", sys.argv[2]], input=picture(edges), text=True).returncode)
shown = (PROJECT / "docs/rooms.svg").read_text()
drawn = {tuple(html.unescape(title).split("->")) for title in re.findall("<title>(.+&#45;&gt;.+)</title>", shown)}
faults += [f"docs/rooms.svg: {'lacks' if edge in edges else 'has'} {' -> '.join(edge)}"
           for edge in sorted(edges.keys() ^ drawn)]
print("".join(f"{fault}\n" for fault in faults), end="")
sys.exit(bool(faults))
