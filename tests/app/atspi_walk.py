#!/usr/bin/python3
"""Walks the accessibility tree of the application with the given process id over the AT-SPI bus, as a screen reader
sees it. Prints the problems among the objects on screen: a button, check box, row or menu entry without a name, or
a control whose role is not what it works as, then "walked". With --list it prints one line per object on screen instead:
"role<TAB>name<TAB>description", and "<TAB>focused" for the focused one. Usage: atspi_walk.py <pid> [--list]"""
import re
import sys
import time

import pyatspi

R = pyatspi
NAMED = {R.ROLE_PUSH_BUTTON, R.ROLE_TOGGLE_BUTTON, R.ROLE_CHECK_BOX, R.ROLE_TABLE_CELL, R.ROLE_TREE_ITEM,
         R.ROLE_LIST_ITEM, R.ROLE_MENU_ITEM, R.ROLE_CHECK_MENU_ITEM, R.ROLE_RADIO_MENU_ITEM}
CHECKABLE = {R.ROLE_CHECK_BOX, R.ROLE_TOGGLE_BUTTON}
BUTTON = {R.ROLE_PUSH_BUTTON}
ROBOT_ROW = re.compile(r".+, (connected|idle)(, locked)?$")
EXPECTED_ROLE = {name: CHECKABLE for name in
                 ("Word match", "Case sensitive", "Send crash dump report", "Do not attach to designer")}
EXPECTED_ROLE.update({name: BUTTON for name in ("Add Workspace", "Minimize", "Maximize", "Close", "Clear Logs")})


def application(pid, seconds=20):
    deadline = time.time() + seconds
    while time.time() < deadline:
        for app in R.Registry.getDesktop(0):
            if app is not None and app.get_process_id() == pid:
                return app
        time.sleep(0.2)
    sys.exit("application %d is not on the accessibility bus" % pid)


def walk(node, listing):
    role, name, states = node.getRole(), node.name or "", node.getState()
    if states.contains(R.STATE_SHOWING):
        if listing:
            focused = "\tfocused" if states.contains(R.STATE_FOCUSED) else ""
            print("%s\t%s\t%s%s" % (node.getRoleName(), name, node.description or "", focused))
        elif role in NAMED and not name.strip():
            print("%s without a name, in %r" % (node.getRoleName(), node.parent.name if node.parent else ""))
        else:
            expected = EXPECTED_ROLE.get(name, {R.ROLE_TABLE_CELL, R.ROLE_TREE_ITEM} if ROBOT_ROW.match(name) else None)
            if expected is not None and role not in expected:
                print("%r is a %s" % (name, node.getRoleName()))
    for child in node:
        if child is not None:
            walk(child, listing)


walk(application(int(sys.argv[1])), "--list" in sys.argv)
print("walked")
