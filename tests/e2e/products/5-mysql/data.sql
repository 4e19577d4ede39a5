-- The tables of the stand-in for this product, as SQLite keeps them.
CREATE TABLE "Customer" ("No" int unsigned NOT NULL, "Name" varchar(30) NOT NULL, "City" varchar(30), "Balance" decimal(12,5) NOT NULL, "Blocked" tinyint NOT NULL, "Created" date NOT NULL, "Modified" datetime NOT NULL, "Opens" time NOT NULL, "Code" varbinary(4), PRIMARY KEY ("No"));
CREATE UNIQUE INDEX "UX_Name_City" ON "Customer" ("City", "Name");
INSERT INTO "Customer" VALUES (1, 'Ann', 'Oslo', 12.5, 0, '2024-01-31', '2024-01-31 07:08:09', '07:30:00', X'0A1B0001');
INSERT INTO "Customer" VALUES (2, 'O''Brien', 'Rome', 2.5, 1, '2024-02-29', '2024-02-29 23:59:59', '08:00:00', X'0A1B0002');
INSERT INTO "Customer" VALUES (3, 'Smith & Sons', NULL, 0.00001, 0, '1999-12-31', '1999-12-31 00:00:00', '00:00:00', X'00000003');
INSERT INTO "Customer" VALUES (4, 'C:\', 'Oslo', -1250, 0, '2024-03-01', '2024-03-01 12:00:00', '23:59:59', X'');
INSERT INTO "Customer" VALUES (5, 'Ærø ☃', 'Rome', 99999.99, 1, '2025-12-24', '2025-12-24 18:30:00', '12:00:00', X'FF');
CREATE TABLE "Log" ("Entry_No" int NOT NULL, "Posted" date NOT NULL, "Text" varchar(50), "Notes" text NOT NULL);
