SELECT "Name","No" FROM "Customer" WHERE ("No"=4)
SELECT "No","Name","City","Balance","Blocked","Created","Modified","Opens","Code" FROM "Customer" WHERE ( (("Name"<'{curly}') OR ("Name"<='{curly}' AND "No"<4))) ORDER BY "Name" DESC, "No" DESC
