-- The tables of the stand-in for this product, as SQLite keeps them.
CREATE TABLE "dbo.Customer" ("No" int NOT NULL, "Name" nvarchar(30) NOT NULL, "City" nvarchar(30), "Balance" decimal(12,5) NOT NULL, "Blocked" bit NOT NULL, "Created" date NOT NULL, "Modified" datetime NOT NULL, "Opens" time NOT NULL, "Code" binary(4), "Id" uniqueidentifier NOT NULL, "Term" nvarchar(10) NOT NULL, PRIMARY KEY ("No"));
CREATE UNIQUE INDEX "UX_Name_City" ON "dbo.Customer" ("City", "Name");
INSERT INTO "dbo.Customer" VALUES (1, 'Ann', 'Oslo', 12.5, 0, '2024-01-31', '2024-01-31 07:08:09', '07:30:00', X'0A1B0001', '{0A1B2C3D-0000-4000-8000-000000000001}', '1D');
INSERT INTO "dbo.Customer" VALUES (2, 'O''Brien', 'Rome', 2.5, 1, '2024-02-29', '2024-02-29 23:59:59', '08:00:00', X'0A1B0002', '{0A1B2C3D-0000-4000-8000-000000000002}', '2'||char(2));
INSERT INTO "dbo.Customer" VALUES (3, 'Smith & Sons', NULL, 0.00001, 0, '1999-12-31', '1999-12-31 00:00:00', '00:00:00', X'00000003', '{0A1B2C3D-0000-4000-8000-000000000003}', char(2));
INSERT INTO "dbo.Customer" VALUES (4, '{curly}', 'Oslo', -1250, 0, '2024-03-01', '2024-03-01 12:00:00', '23:59:59', NULL, '{0A1B2C3D-0000-4000-8000-000000000004}', '');
INSERT INTO "dbo.Customer" VALUES (5, 'Ærø ☃', 'Rome', 99999.99, 1, '2025-12-24', '2025-12-24 18:30:00', '12:00:00', X'FF000000', '{0A1B2C3D-0000-4000-8000-000000000005}', '1'||char(7)||'+'||char(1)||char(5));
CREATE TABLE "dbo.Log" ("Entry_No" int NOT NULL, "Posted" date NOT NULL, "Text" varchar(50), "Notes" text NOT NULL);
CREATE TABLE "sales.Order]s" ("No" int NOT NULL, "Line" int NOT NULL, "Item" nvarchar(20) NOT NULL, PRIMARY KEY ("No", "Line"));
CREATE TABLE "sales.Line" ("No" int NOT NULL, "Line" int NOT NULL, "Item" nvarchar(20) NOT NULL, PRIMARY KEY ("No", "Line"));
CREATE INDEX "CX_Item" ON "sales.Line" ("Item");
CREATE TABLE "archive.dbo.Customer" ("No" int NOT NULL, "Left_On" date);
CREATE TABLE "sys.trace_events" ("No" int NOT NULL);
CREATE TABLE "dbo.$ndo$dbproperty" ("databaseversionno" int NOT NULL);
CREATE VIEW "dbo.OpenCustomer" AS SELECT "No", "Name" FROM "dbo.Customer" WHERE "Blocked"=0;
CREATE VIEW "sys.objects" AS SELECT 1 AS object_id;
CREATE VIEW "INFORMATION_SCHEMA.TABLES" AS SELECT 1 AS TABLE_NAME;
