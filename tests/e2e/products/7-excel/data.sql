-- The tables of the stand-in for this product, as SQLite keeps them.
CREATE TABLE "Customer$" ("No" double, "Name" varchar(255), "City" varchar(255), "Balance" double, "Blocked" bit, "Modified" datetime);
INSERT INTO "Customer$" VALUES (1, 'Ann', 'Oslo', 12.5, 0, '2024-01-31 07:08:09');
INSERT INTO "Customer$" VALUES (2, 'O''Brien', 'Rome', 2.5, 1, '2024-02-29 23:59:59');
INSERT INTO "Customer$" VALUES (3, 'Smith & Sons', NULL, 0.00001, 0, '1999-12-31 00:00:00');
INSERT INTO "Customer$" VALUES (4, '{curly}', 'Oslo', -1250, 0, '2024-03-01 12:00:00');
INSERT INTO "Customer$" VALUES (5, 'Ærø ☃', 'Rome', 99999.99, 1, '2025-12-24 18:30:00');
CREATE TABLE "Log" ("Entry" double, "Text" varchar(255));
