#!/usr/bin/python3
"""Walks the accessibility tree of the application whose process id is given, over the AT-SPI bus of the session
bus in the environment, as a screen reader sees it. Prints one line per problem: a button, check box, menu item or
tree row on screen without a name, or a control whose role is not what it works as; exits 1 when there is any, 2
when the application is not on the bus. With --list it prints instead one line per object on screen,
"role<TAB>name<TAB>description", followed by "<TAB>focused" for the focused one; --dump prints the whole tree.
Usage: atspi_walk.py <pid> [--list|--dump]"""
import re
import sys
import time

import pyatspi

NAMED = {
    pyatspi.ROLE_PUSH_BUTTON,
    pyatspi.ROLE_TOGGLE_BUTTON,
    pyatspi.ROLE_CHECK_BOX,
    pyatspi.ROLE_TABLE_CELL,
    pyatspi.ROLE_TREE_ITEM,
    pyatspi.ROLE_LIST_ITEM,
    pyatspi.ROLE_MENU_ITEM,
    pyatspi.ROLE_CHECK_MENU_ITEM,
    pyatspi.ROLE_RADIO_MENU_ITEM,
}
ROW = {pyatspi.ROLE_TABLE_CELL, pyatspi.ROLE_TREE_ITEM}
CHECKABLE = {pyatspi.ROLE_CHECK_BOX, pyatspi.ROLE_TOGGLE_BUTTON}
BUTTON = {pyatspi.ROLE_PUSH_BUTTON}
ROBOT_ROW = re.compile(r".+, (connected|idle)(, locked)?$")
# Controls whose role must match how they work: checkable ones say so, robot rows are rows.
EXPECTED_ROLE = {
    "Word match": CHECKABLE,
    "Case sensitive": CHECKABLE,
    "Send crash dump report": CHECKABLE,
    "Do not attach to designer": CHECKABLE,
    "Add Workspace": BUTTON,
    "Minimize": BUTTON,
    "Maximize": BUTTON,
    "Close": BUTTON,
    "Clear Logs": BUTTON,
}


def find_application(pid, seconds=20):
    deadline = time.time() + seconds
    while time.time() < deadline:
        desktop = pyatspi.Registry.getDesktop(0)
        for app in desktop:
            try:
                if app is not None and app.get_process_id() == pid:
                    return app
            except Exception:
                pass
        time.sleep(0.2)
    return None


def walk(node, depth, problems, mode):
    try:
        role = node.getRole()
        name = node.name or ""
        states = node.getState()
    except Exception:
        return
    showing = states.contains(pyatspi.STATE_SHOWING)
    if mode == "--dump":
        print("%s%s %r%s" % ("  " * depth, node.getRoleName(), name, "" if showing else " (hidden)"))
    elif mode == "--list" and showing:
        focused = "\tfocused" if states.contains(pyatspi.STATE_FOCUSED) else ""
        print("%s\t%s\t%s%s" % (node.getRoleName(), name, node.description or "", focused))
    if showing:
        if role in NAMED and not name.strip():
            problems.append("%s without a name (under %r)" % (node.getRoleName(), node.parent.name if node.parent else ""))
        expected = EXPECTED_ROLE.get(name)
        if expected is None and ROBOT_ROW.match(name):
            expected = ROW
        if expected is not None and role not in expected:
            problems.append("%r is a %s" % (name, node.getRoleName()))
    for child in node:
        if child is not None:
            walk(child, depth + 1, problems, mode)


def main():
    pid = int(sys.argv[1])
    mode = sys.argv[2] if len(sys.argv) > 2 else ""
    app = find_application(pid)
    if app is None:
        print("application %d is not on the accessibility bus" % pid)
        return 2
    problems = []
    walk(app, 0, problems, mode)
    if not mode:
        for problem in problems:
            print(problem)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
