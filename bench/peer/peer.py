#!/usr/bin/python3
"""Answers the TableData and Ping requests of a queue folder from a database: what somebody would write who has Python,
pyodbc and lxml, and wants no server. It is what the server is compared with (scripts/bench.sh --pages).

Usage: peer.py REQUESTS RESULTS, with an ODBC connection string in the environment variable PEER_CONNECTION.

It knows the first page, the next page and a filter by equality, over a key of one column; it answers in the form of
docs/protocol.md, with positions of its own. It is not made slow: the kernel tells it when a request arrives, statements
have parameters, and a page is one statement, bounded by the number of its rows.
"""
import ctypes
import datetime
import decimal
import os
import signal
import sys

import pyodbc
from lxml import etree

IN_MOVED_TO, IN_CREATE = 0x80, 0x100  # <sys/inotify.h>
# The numbers of the protocol for what pyodbc calls the type of a column.
TYPES = {int: "3", float: "5", bool: "11", str: "202", decimal.Decimal: "131", datetime.date: "133",
         datetime.time: "134", datetime.datetime: "135", bytes: "204", bytearray: "204"}


class Queue:
    """The two folders."""

    def __init__(self, requests, results):
        self.requests, self.results = requests, results
        for folder in (requests, results):
            for part in ("tmp", "new", "cur"):
                os.makedirs(os.path.join(folder, part), exist_ok=True)
        libc = ctypes.CDLL(None, use_errno=True)
        self.watch = libc.inotify_init1(0)
        libc.inotify_add_watch(self.watch, os.fsencode(os.path.join(requests, "new")), IN_MOVED_TO | IN_CREATE)

    def take(self):
        """The names and texts of the requests, the oldest first, as they come."""
        while True:
            with os.scandir(os.path.join(self.requests, "new")) as entries:
                waiting = sorted((entry.stat().st_mtime_ns, entry.name) for entry in entries if entry.name.endswith(".xml"))
            for _, name in waiting:
                taken = os.path.join(self.requests, "cur", name)
                os.rename(os.path.join(self.requests, "new", name), taken)
                with open(taken, "rb") as file:
                    yield name, file.read()
                os.unlink(taken)
            if not waiting:
                os.read(self.watch, 4096)

    def answer(self, name, text):
        part = os.path.join(self.results, "tmp", name)
        with open(part, "wb") as file:
            file.write(text)
        os.rename(part, os.path.join(self.results, "new", name))


class Tables:
    """The database."""

    def __init__(self, connection_string):
        self.connection = pyodbc.connect(connection_string, autocommit=True)
        self.quote = self.connection.getinfo(pyodbc.SQL_IDENTIFIER_QUOTE_CHAR).strip()
        if "maodbc" in self.connection.getinfo(pyodbc.SQL_DRIVER_NAME):
            self.connection.setdecoding(pyodbc.SQL_CHAR, encoding="utf-8")
            self.connection.setencoding(encoding="utf-8")

    def name(self, text):
        return self.quote + text.replace(self.quote, 2 * self.quote) + self.quote

    def page(self, request):
        """The response to a TableData request."""
        table = request.findtext("TableId").rpartition("]")[2]
        key = request.findtext("PrimaryKey")
        size = int(request.findtext("PageSize"))
        fields = [field.text for field in request.iterfind("Fields/Field/Id")]
        conditions, values = [], []
        for condition in request.iterfind("Filter/Condition"):
            conditions.append(self.name(condition.findtext("FieldId")) + "=?")
            value = condition.findtext("Filter")
            values.append(int(value) if value.isdigit() else value)
        position = request.findtext("LastPos")
        goes_on = request.findtext("Navigate") == "gotonext" and position
        if goes_on:
            conditions.append(self.name(key) + ">?")
            values.append(int(position))
        sql = "SELECT " + ",".join(map(self.name, fields)) + " FROM " + self.name(table)
        if conditions:
            sql += " WHERE " + " AND ".join(conditions)
        sql += f" ORDER BY {self.name(key)} LIMIT {size + 1}"
        cursor = self.connection.execute(sql, values)
        rows = cursor.fetchall()
        more, rows = len(rows) > size, rows[:size]

        root = etree.Element("XML")
        at = fields.index(key)
        etree.SubElement(root, "FirstPosition").text = str(rows[0][at]) if rows else ""
        etree.SubElement(root, "LastPosition").text = str(rows[-1][at]) if rows else ""
        etree.SubElement(root, "HasNextPage").text = "1" if more else "0"
        etree.SubElement(root, "HasPreviousPage").text = "1" if goes_on else "0"
        columns = etree.SubElement(root, "Columns")
        for description in cursor.description:
            column = etree.SubElement(columns, "Column")
            etree.SubElement(column, "Id").text = description[0]
            etree.SubElement(column, "DataType").text = TYPES.get(description[1], "202")
        records = etree.SubElement(root, "Records")
        for row in rows:
            record = etree.SubElement(records, "R")
            for field, value in zip(fields, row):
                element = etree.SubElement(record, "V", Id=field)
                if value is None:
                    etree.SubElement(element, "Null")
                else:
                    element.text = str(value)
        return root


def main():
    queue = Queue(*sys.argv[1:])
    tables = Tables(os.environ["PEER_CONNECTION"])
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(0))
    for name, text in queue.take():
        try:
            request = etree.fromstring(text)
            if request.findtext("Type") == "TableData":
                root = tables.page(request)
            elif request.findtext("Type") == "Ping":
                root = etree.Element("XML")
                etree.SubElement(root, "Ping").text = "OK"
            else:
                raise ValueError("Unknown message type: " + (request.findtext("Type") or ""))
        except (pyodbc.Error, etree.XMLSyntaxError, TypeError, ValueError) as error:
            root = etree.Element("XML")
            etree.SubElement(root, "Error").text = "1000"
            etree.SubElement(root, "Message").text = str(error)
        queue.answer(name, etree.tostring(root, encoding="utf-8"))


if __name__ == "__main__":
    main()
