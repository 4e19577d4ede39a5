SELECT * FROM "Customer_Card" WHERE (1=2)
