-- max rows 1
SELECT TOP 1 "Name","No" FROM "Customer" WHERE ("No"=4)
-- max rows 3
SELECT TOP 3 "No","Name","City","Balance","Blocked","Created","Modified","Opens","Code",CAST("Id" AS BINARY(16)),"Mark" FROM "Customer" WHERE ( (("Name"<'{curly}') OR ("Name"<='{curly}' AND "No"<4))) ORDER BY "Name" DESC, "No" DESC
