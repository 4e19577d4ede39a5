-- max rows 1
SELECT "Name","No_" FROM "Customer_Card" WHERE ("No_"=4)
-- max rows 3
SELECT "No_","Name","City","Balance","Blocked","Created" FROM "Customer_Card" WHERE ( (("Name"<'{curly}') OR ("Name"<='{curly}' AND "No_"<4))) ORDER BY "Name" DESC, "No_" DESC
