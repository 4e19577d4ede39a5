-- The tables of the stand-in for this product, as SQLite keeps them.
CREATE TABLE "Customer" ("No" int NOT NULL, "Name" varchar(30) NOT NULL, "City" varchar(30), "Balance" decimal(12,5) NOT NULL, "Blocked" bit NOT NULL, "Created" date NOT NULL, "Modified" datetime NOT NULL, "Opens" time NOT NULL, "Code" varbinary(4), "Id" binary(16) NOT NULL, "Mark" binary(2) NOT NULL, PRIMARY KEY ("No"));
CREATE UNIQUE INDEX "UX_Name_City" ON "Customer" ("City", "Name");
INSERT INTO "Customer" VALUES (1, 'Ann', 'Oslo', 12.5, 0, '2024-01-31', '2024-01-31 07:08:09', '07:30:00', X'0A1B0001', X'00000000000000000000000000001E10', X'0A01');
INSERT INTO "Customer" VALUES (2, 'O''Brien', 'Rome', 2.5, 1, '2024-02-29', '2024-02-29 23:59:59', '08:00:00', X'0A1B0002', X'A0000000000000000000000000000002', X'0A02');
INSERT INTO "Customer" VALUES (3, 'Smith & Sons', NULL, 0.00001, 0, '1999-12-31', '1999-12-31 00:00:00', '00:00:00', X'00000003', X'A0000000000000000000000000000003', X'0A03');
INSERT INTO "Customer" VALUES (4, '{curly}', 'Oslo', -1250, 0, '2024-03-01', '2024-03-01 12:00:00', '23:59:59', X'', X'A0000000000000000000000000000004', X'0A04');
INSERT INTO "Customer" VALUES (5, 'Ærø ☃', 'Rome', 99999.99, 1, '2025-12-24', '2025-12-24 18:30:00', '12:00:00', X'FF', X'A0000000000000000000000000000005', X'0A05');
CREATE TABLE "Log" ("Entry_No" int NOT NULL, "Posted" date NOT NULL, "Text" varchar(50), "Notes" text NOT NULL);
