-- max rows 1
SELECT * FROM "Customer_Card" WHERE (1=2)
-- max rows 3
SELECT "No_","Name","City","Balance","Blocked","Created" FROM "Customer_Card" ORDER BY "No_"
