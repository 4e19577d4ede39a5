#!/usr/bin/env python3
"""Prints all customers, page by page: a whole client of the ODBC data server. Usage: customers.py REQUESTS RESULTS"""
import os, sys, time, uuid
import xml.etree.ElementTree as ET
from xml.sax.saxutils import escape

requests, results = sys.argv[1:]
os.umask(0o077)


def ask(kind, elements):
    name = f"{uuid.uuid4()}.xml"
    written, answer = os.path.join(requests, "tmp", name), os.path.join(results, "new", name)
    with open(written, "w", encoding="utf-8") as file:
        file.write(f"<XML><Type>{kind}</Type>{elements}</XML>")
    os.rename(written, os.path.join(requests, "new", name))  # now the server sees it, and the whole of it
    end = time.monotonic() + 30
    while not os.path.exists(answer):
        if time.monotonic() > end:
            sys.exit("No answer came within 30 seconds.")
        time.sleep(0.005)
    root = ET.parse(answer).getroot()
    os.remove(answer)
    if root.find("Error") is not None:
        sys.exit(root.findtext("Message"))
    return root


table = "<TableId>[TABLE]customer</TableId><PageSize>100</PageSize><Fields><Field><Id>no</Id></Field><Field><Id>name</Id></Field></Fields>"
page = ask("TableData", table)
while page.find("Records/R") is not None:
    for row in page.iterfind("Records/R"):
        print("\t".join("NULL" if value.find("Null") is not None else value.text or "" for value in row))
    if page.findtext("HasNextPage") != "1":
        break
    page = ask("TableData", f"{table}<Navigate>gotonext</Navigate><LastPos>{escape(page.findtext('LastPosition'))}</LastPos>")
