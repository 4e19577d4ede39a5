-- The tables of the stand-in for this product, as SQLite keeps them.
CREATE TABLE "Customer_Card" ("No_" int NOT NULL, "Name" varchar(30) NOT NULL, "City" varchar(30) NOT NULL, "Balance" double NOT NULL, "Blocked" bit NOT NULL, "Created" date NOT NULL, PRIMARY KEY ("No_"));
CREATE INDEX "$2" ON "Customer_Card" ("Name");
INSERT INTO "Customer_Card" VALUES (1, 'Ann', 'Oslo', 12.5, 0, '2024-01-31');
INSERT INTO "Customer_Card" VALUES (2, 'O''Brien', 'Rome', 2.5, 1, '2024-02-29');
INSERT INTO "Customer_Card" VALUES (3, 'Smith & Sons', '', 0.00001, 0, '1999-12-31');
INSERT INTO "Customer_Card" VALUES (4, '{curly}', 'Oslo', -1250, 0, '2024-03-01');
INSERT INTO "Customer_Card" VALUES (5, 'Ærø ☃', 'Rome', 99999.99, 1, '2025-12-24');
CREATE TABLE "Log" ("Entry_No" int NOT NULL, "Posted" date NOT NULL, "Text" varchar(50), "Notes" text NOT NULL);
