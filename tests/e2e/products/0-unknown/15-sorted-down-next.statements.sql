-- max rows 1
SELECT "Name","No" FROM "Customer" WHERE ("No"=4)
-- max rows 3
SELECT "No","Name","City","Balance","Blocked","Created","Modified","Opens","Code" FROM "Customer" WHERE ( (("Name"<'{curly}') OR ("Name"<='{curly}' AND "No"<4))) ORDER BY "Name" DESC, "No" DESC
