-- The tables of the stand-in for this product, as SQLite keeps them.
CREATE TABLE "Customer" ("No" char(10) NOT NULL, "Name" char(20) NOT NULL, "City" char(10), "Balance" double NOT NULL, "Created" date NOT NULL, PRIMARY KEY ("No"));
CREATE UNIQUE INDEX "UX_Name_City" ON "Customer" ("City", "Name");
INSERT INTO "Customer" VALUES ('C1        ', 'Ann                 ', 'Oslo      ', 12.5, '2024-01-31');
INSERT INTO "Customer" VALUES ('C2        ', 'O''Brien             ', 'Rome      ', 2.5, '2024-02-29');
INSERT INTO "Customer" VALUES ('C3        ', 'Smith & Sons        ', NULL, 0.00001, '1999-12-31');
INSERT INTO "Customer" VALUES ('C4        ', '{curly}             ', 'Oslo      ', -1250, '2024-03-01');
INSERT INTO "Customer" VALUES ('C5        ', 'Ærø ☃               ', 'Rome      ', 99999.99, '2025-12-24');
CREATE TABLE "Log" ("Entry_No" int NOT NULL, "Posted" date NOT NULL, "Text" varchar(50), "Notes" text NOT NULL);
