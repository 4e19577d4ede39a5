-- max rows 3
SELECT TOP 3 "No","Name","City","Balance","Blocked","Created","Modified","Opens","Code",CAST("Id" AS BINARY(16)),"Mark" FROM "Customer" WHERE ((("Code" = 0x0A1B0002 OR "Code" = 0xFF) AND ("Created" <= {d '2024-02-29'}))) ORDER BY "No"
