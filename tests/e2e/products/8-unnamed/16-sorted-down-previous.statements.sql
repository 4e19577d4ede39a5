-- max rows 1
SELECT "Name","No_" FROM "Customer_Card" WHERE ("No_"=3)
-- max rows 3
SELECT "No_","Name","City","Balance","Blocked","Created" FROM "Customer_Card" WHERE ( (("Name">'Smith & Sons') OR ("Name">='Smith & Sons' AND "No_">3))) ORDER BY "Name", "No_"
