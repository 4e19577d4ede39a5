#!/usr/bin/python3
"""Answers the TableData, TableList and Ping requests of a queue folder from a database: what somebody would write who has
Python, pyodbc and lxml, and wants no server. It is what the server is compared with (scripts/bench.sh --pages).

Usage: peer.py REQUESTS RESULTS, with an ODBC connection string in the environment variable PEER_CONNECTION.

It knows the list of tables, and the first, the next and the last page, over a key of one column and maybe a sort column
without nulls, with filters that compare and a search in one field; it answers in the form of docs/protocol.md, with
positions of its own. It is not made slow: the kernel tells it when a request arrives, statements have parameters, and a
page is one statement, bounded by the number of its rows.
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
OPERATORS = {"eq": "=", "lt": "<", "gt": ">", "lteq": "<=", "gteq": ">="}


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
        driver = self.connection.getinfo(pyodbc.SQL_DRIVER_NAME)
        self.like = "ILIKE" if "psqlodbc" in driver else "LIKE"
        if "maodbc" in driver:
            self.connection.setdecoding(pyodbc.SQL_CHAR, encoding="utf-8")
            self.connection.setencoding(encoding="utf-8")

    def name(self, text):
        return self.quote + text.replace(self.quote, 2 * self.quote) + self.quote

    def list(self):
        """The response to a TableList request."""
        root = etree.Element("XML")
        tables = etree.SubElement(root, "Tables")
        for name in sorted(row.table_name for row in self.connection.cursor().tables() if row.table_type != "SYSTEM TABLE"):
            table = etree.SubElement(tables, "Table")
            etree.SubElement(table, "Id").text = "[TABLE]" + name
            etree.SubElement(table, "Caption").text = name
        return root

    def page(self, request):
        """The response to a TableData request."""
        table = request.findtext("TableId").rpartition("]")[2]
        key = request.findtext("PrimaryKey")
        order = [column for column in (request.findtext("SortColumn"), key) if column]
        size = int(request.findtext("PageSize"))
        fields = [field.text for field in request.iterfind("Fields/Field/Id")]
        conditions, values = [], []
        for condition in request.iterfind("Filter/Condition"):
            conditions.append(self.name(condition.findtext("FieldId")) + OPERATORS[condition.findtext("FilterOp") or "eq"] + "?")
            value = condition.findtext("Filter")
            values.append(int(value) if value.isdigit() else value)
        if search := request.findtext("SearchString"):
            conditions.append(self.name(request.findtext("SearchFields/Field/Id")) + " " + self.like + " ?")
            values.append(request.findtext("SearchFields/Field/SearchString").replace("{0}", search))
        position = request.findtext("LastPos")
        goes_on = request.findtext("Navigate") == "gotonext" and position
        backwards = request.findtext("Navigate") == "gotolast"
        if goes_on:
            *value, last = position.rsplit("|", 1)
            if value:  # in this form every product finds the place in the index of the sort column
                column = self.name(order[0])
                conditions.append(f"{column}>=? AND ({column}>? OR {self.name(key)}>?)")
                values += 2 * value
            else:
                conditions.append(self.name(key) + ">?")
            values.append(int(last))
        sql = "SELECT " + ",".join(map(self.name, fields)) + " FROM " + self.name(table)
        if conditions:
            sql += " WHERE " + " AND ".join(conditions)
        sql += " ORDER BY " + ",".join(self.name(column) + (" DESC" if backwards else "") for column in order)
        sql += f" LIMIT {size + 1}"
        cursor = self.connection.execute(sql, values)
        rows = cursor.fetchall()
        more, rows = len(rows) > size, rows[:size]
        if backwards:
            rows.reverse()

        root = etree.Element("XML")
        at = [fields.index(column) for column in order]
        for element, row in (("FirstPosition", rows[:1]), ("LastPosition", rows[-1:])):
            etree.SubElement(root, element).text = "|".join(str(row[0][i]) for i in at) if row else ""
        etree.SubElement(root, "HasNextPage").text = "1" if more and not backwards else "0"
        etree.SubElement(root, "HasPreviousPage").text = "1" if goes_on or more and backwards else "0"
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
            elif request.findtext("Type") == "TableList":
                root = tables.list()
            elif request.findtext("Type") == "Ping":
                root = etree.Element("XML")
                etree.SubElement(root, "Ping").text = "OK"
            else:
                raise ValueError("Unknown message type: " + (request.findtext("Type") or ""))
        except (pyodbc.Error, etree.XMLSyntaxError, KeyError, TypeError, ValueError) as error:
            root = etree.Element("XML")
            etree.SubElement(root, "Error").text = "1000"
            etree.SubElement(root, "Message").text = str(error)
        queue.answer(name, etree.tostring(root, encoding="utf-8"))


if __name__ == "__main__":
    main()
