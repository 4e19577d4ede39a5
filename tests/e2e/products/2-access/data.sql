-- The tables of the stand-in for this product, as SQLite keeps them.
CREATE TABLE "Customer" ("No" int NOT NULL, "Name" nvarchar(30) NOT NULL, "City" nvarchar(30), "Balance" double NOT NULL, "Blocked" bit NOT NULL, "Modified" datetime NOT NULL, "Code" binary(4), "Id" guid NOT NULL, PRIMARY KEY ("No"));
CREATE UNIQUE INDEX "UX_Name_City" ON "Customer" ("City", "Name");
INSERT INTO "Customer" VALUES (1, 'Ann', 'Oslo', 12.5, 0, '2024-01-31 07:08:09', X'0A1B0001', '{0A1B2C3D-0000-4000-8000-000000000001}');
INSERT INTO "Customer" VALUES (2, 'O''Brien', 'Rome', 2.5, 1, '2024-02-29 23:59:59', X'0A1B0002', '{0A1B2C3D-0000-4000-8000-000000000002}');
INSERT INTO "Customer" VALUES (3, 'Smith & Sons', NULL, 0.00001, 0, '1999-12-31 00:00:00', X'00000003', '{0A1B2C3D-0000-4000-8000-000000000003}');
INSERT INTO "Customer" VALUES (4, '{curly}', 'Oslo', -1250, 0, '2024-03-01 12:00:00', NULL, '{0A1B2C3D-0000-4000-8000-000000000004}');
INSERT INTO "Customer" VALUES (5, 'Ærø ☃', 'Rome', 99999.99, 1, '2025-12-24 18:30:00', X'FF000000', '{0A1B2C3D-0000-4000-8000-000000000005}');
CREATE TABLE "Log" ("Entry_No" int NOT NULL, "Posted" date NOT NULL, "Text" varchar(50), "Notes" text NOT NULL);
CREATE TABLE "MSysObjects" ("Id" int NOT NULL);
CREATE VIEW "OpenCustomer" AS SELECT "No", "Name" FROM "Customer" WHERE "Blocked"=0;
