-- max rows 1
SELECT "No_" FROM "Customer_Card" WHERE ("No_"=3)
-- max rows 3
SELECT "No_","Name","City","Balance","Blocked","Created" FROM "Customer_Card" WHERE ( (("No_"<3))) ORDER BY "No_" DESC
